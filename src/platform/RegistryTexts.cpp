#include "platform/RegistryTexts.h"

namespace ovs {

namespace {

struct RootName {
  os::RootKey root;
  TextView shortName;
  TextView longName;
};

constexpr RootName kRoots[] = {
    {os::RootKey::ClassesRoot, u"HKCR", u"HKEY_CLASSES_ROOT"},
    {os::RootKey::CurrentUser, u"HKCU", u"HKEY_CURRENT_USER"},
    {os::RootKey::LocalMachine, u"HKLM", u"HKEY_LOCAL_MACHINE"},
    {os::RootKey::Users, u"HKU", u"HKEY_USERS"},
    {os::RootKey::PerformanceData, u"HKPD", u"HKEY_PERFORMANCE_DATA"},
    {os::RootKey::CurrentConfig, u"HKCC", u"HKEY_CURRENT_CONFIG"},
    {os::RootKey::DynData, u"HKDD", u"HKEY_DYN_DATA"},
};

struct ResultText {
  std::uint32_t code;
  TextView text;
};

constexpr ResultText kResults[] = {
    {0, u"API Success!"},
    {1, u"Incorrect function."},
    {2, u"The system cannot find the file specified. (key)"},
    {3, u"The system cannot find the path specified."},
    {4, u"The system cannot open the file. (ERROR_TOO_MANY_OPEN_FILES)"},
    {5, u"Access is denied."},
    {6, u"The handle is invalid."},
    {7, u"The storage control blocks were destroyed."},
    {8, u"Not enough storage is available to process this command."},
    {14, u"Not enough storage is available to complete this operation."},
    {87, u"The parameter is incorrect."},
    {234, u"More data is available."},
    {259, u"No more data is available."},
    {1009, u"The configuration registry database is corrupt."},
    {1010, u"The configuration registry key is invalid."},
    {1011, u"The configuration registry key could not be opened."},
    {1012, u"The configuration registry key could not be read."},
    {1013, u"The configuration registry key could not be written."},
};

const RootName* FindRoot(os::RootKey root) {
  for (const RootName& each : kRoots) {
    if (each.root == root) return &each;
  }
  return nullptr;
}

}  // namespace

TextView RootKeyShortName(os::RootKey root) {
  const RootName* found = FindRoot(root);
  return found ? found->shortName : TextView();
}

TextView RootKeyLongName(os::RootKey root) {
  const RootName* found = FindRoot(root);
  return found ? found->longName : TextView();
}

TextView RegResultText(std::uint32_t code) {
  for (const ResultText& each : kResults) {
    if (each.code == code) return each.text;
  }
  return u"Unknown Return Value.";
}

}  // namespace ovs
