// The settings store: any text through any loader, then read, changed, saved and loaded again. What a file can carry must
// come back.
#include <cstdint>
#include <cstdlib>

#include "base/Encoding.h"
#include "config/Config_Class.h"
#include "config/ckCrypt_Config.h"
#include "os/Crypto.h"
#include "support/FakeSystem.h"
#include "support/MemoryFiles.h"

namespace {

using namespace ovs;

constexpr TextView kFolder = u"C:\\App\\";

struct Machine {
  Machine() { files.CreateDir(u"C:\\App").Ignore(); }
  fakes::MemoryFiles files;
  fakes::FakeSystem system;
  App_FileSystem fileSystem{files, system};
  ckCrypt_Config crypt{os::SystemCrypto()};
};

void Load(Config_Class& store, Machine& machine, unsigned way, std::string_view bytes) {
  const Text text = DecodeFile(bytes);
  switch (way % 4) {
    case 0:
      machine.files.Write(u"C:\\App\\One File.cfg", bytes).Ignore();
      store.LoadDir(kFolder, {.bPrefixFileName = (way & 8) != 0});
      break;
    case 1:
      store.LoadINIFromString(text, {.sPrefix = u"p", .bPrefixFileName = (way & 8) != 0, .sDefFile = u"ini.cfg"});
      break;
    case 2:
      store.LoadString(text, {.sPrefix = Text((way & 8) != 0 ? u"pre" : u"")});
      break;
    default:
      store.LoadINIFromString(text, {.bUseSections = false});
      break;
  }
}

void Use(Config_Class& store) {
  std::vector<Text> list;
  for (const Config_KVP& entry : store.NewEnum()) {
    static_cast<void>(store.GetLong(entry.Key()));
    static_cast<void>(store.GetBool(entry.Key()));
    store.GetStringArray(entry.Key(), list, {.bSort = true, .bRemoveDuplicates = true});
    if (store.Item(entry.Key()) != &entry) std::abort();
  }
  static_cast<void>(store.GetAllMatchingStrings(u"a"));
  store.WipeSetting(u"wipe", 2);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  Machine machine;
  Config_Class store(machine.fileSystem, machine.crypt, kFolder);
  store.DefaultConfigFile = u"C:\\App\\Svc.cfg";
  Load(store, machine, data[0], {reinterpret_cast<const char*>(data) + 1, size - 1});
  Use(store);
  const Text before = store.GetAllMatchingStrings_AsIs({});
  store.SaveConfig();
  Use(store);
  if (store.GetAllMatchingStrings_AsIs({}) != before) std::abort();
  return 0;
}
