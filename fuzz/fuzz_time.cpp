// The time text of a record: whatever it says, the display text is empty or a date of 23 characters at most, and an alert
// can be written with it.
#include <cstdint>
#include <cstdlib>

#include "base/Encoding.h"
#include "events/EventRecord.h"
#include "support/FakeClock.h"
#include "support/MemoryFiles.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace ovs;
  if (size == 0) return 0;
  fakes::FakeClock clock;
  fakes::FakeTimeZone zone;
  fakes::MemoryFiles files;
  zone.offsetMinutes = static_cast<std::int8_t>(data[0]) % 57 * 15;  // within 14 hours
  App_Time time(clock, zone, files);
  const Text text = DecodeFile({reinterpret_cast<const char*>(data) + 1, size - 1});
  for (unsigned flags = 0; flags < 8; ++flags) {
    const Text shown = RecordTimeText(time, text, {(flags & 1) != 0, (flags & 2) != 0, (flags & 4) != 0});
    if (shown.size() > 23) std::abort();  // a year of five digits by the change to local time
    if (shown.find_first_of(u"\r\n") != Text::npos) std::abort();
  }
  return 0;
}
