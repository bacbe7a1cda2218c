// The plain INI reader and the rule that is read with it: no text may crash it, and what it finds lies within the text.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "base/Encoding.h"
#include "config/PlainIni.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace ovs;
  const Text text = DecodeFile({reinterpret_cast<const char*>(data), size});
  const PlainIni ini(text);
  for (const TextView key : {u"System", u"Error", u"EventID", u"EventDesc", u"", u"a"}) {
    for (const TextView section : {u"LogFile", u"EventType", u"EventDetail", u"", u"a"}) {
      const std::optional<TextView> raw = ini.RawValue(section, key);
      if (!raw) continue;
      if (!ini.HasSection(section) || raw->size() > text.size() || ProfileValue(*raw).size() > raw->size()) std::abort();
    }
  }
  return 0;
}
