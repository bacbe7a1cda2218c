#include "platform/App_Registry.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <utility>

#include "base/Fold.h"
#include "base/Numbers.h"

namespace ovs {

namespace {

constexpr TextView kModule = u"App_Registry";
constexpr TextView kMissingKeyErrors = u"2,3";
constexpr TextView kRedirectedNode = u"WOW6432Node\\";
constexpr std::uint32_t kMaxValueBytes = 1u << 20;

struct RootName {
  os::RootKey root;
  TextView name;
};

constexpr RootName kRoots[] = {
    {os::RootKey::ClassesRoot, u"HKEY_CLASSES_ROOT"},
    {os::RootKey::CurrentUser, u"HKEY_CURRENT_USER"},
    {os::RootKey::LocalMachine, u"HKEY_LOCAL_MACHINE"},
    {os::RootKey::Users, u"HKEY_USERS"},
    {os::RootKey::PerformanceData, u"HKEY_PERFORMANCE_DATA"},
    {os::RootKey::CurrentConfig, u"HKEY_CURRENT_CONFIG"},
    {os::RootKey::DynData, u"HKEY_DYN_DATA"},
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

// One failed registry call: its name, its number and the number's text.
void LogFailure(Proc& proc, TextView call, os::Error error, TextView expected = {}) {
  Text message = Text(call) + u" " + NumberText(error.Number()) + u" ";
  proc.Fail(error).Log(message.append(RegResultText(error.Number())), EventType::ApiError, {}, {}, expected);
}

std::string ToBytes(TextView text) {
  std::string bytes;
  bytes.reserve(text.size() * 2);
  for (const char16_t unit : text) {
    bytes += static_cast<char>(unit & 0xFF);
    bytes += static_cast<char>(unit >> 8);
  }
  return bytes;
}

Text FromBytes(std::string_view bytes) {
  Text text;
  text.reserve(bytes.size() / 2);
  for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
    const auto low = static_cast<unsigned char>(bytes[i]);
    const auto high = static_cast<unsigned char>(bytes[i + 1]);
    text += static_cast<char16_t>(low | (high << 8));
  }
  return text;
}

// Stored texts need not end in a NUL, and may hold more behind it.
Text StringOf(std::string_view bytes) {
  Text text = FromBytes(bytes);
  text.resize(std::min(text.find(kNul), text.size()));
  return text;
}

std::vector<Text> StringsOf(std::string_view bytes) {
  const Text all = FromBytes(bytes);
  std::vector<Text> strings;
  for (std::size_t start = 0; start < all.size() && all[start] != kNul;) {
    const std::size_t end = std::min(all.find(kNul, start), all.size());
    strings.push_back(all.substr(start, end - start));
    start = end + 1;
  }
  return strings;
}

std::string BytesOf(std::uint32_t number) {
  std::string bytes;
  for (unsigned shift = 0; shift < 32; shift += 8) bytes += static_cast<char>((number >> shift) & 0xFF);
  return bytes;
}

std::uint32_t NumberOf(std::string_view bytes) {
  std::uint32_t number = 0;
  for (std::size_t i = 4; i-- > 0;) number = (number << 8) | static_cast<unsigned char>(bytes[i]);
  return number;
}

TextView TypeName(std::uint32_t type) {
  switch (type) {
    case os::RegType::kMultiString:
      return u"REG_MULTI_SZ";
    case os::RegType::kBinary:
      return u"REG_BINARY";
    case os::RegType::kDword:
      return u"REG_DWORD";
    default:
      return u"REG_SZ";
  }
}

// The name of a failed step; binary values and numbers have one for both.
Text StepName(std::uint32_t type, bool isLength) {
  Text name = Text(u"RegQueryValueExW ").append(TypeName(type));
  if (type == os::RegType::kBinary || type == os::RegType::kDword) return name;
  name += isLength ? u" (Length)" : u" (Data)";
  if (!isLength && type != os::RegType::kMultiString) name += u" msg=";
  return name;
}

Text Shown(const RegValue& value) {
  if (const Text* text = std::get_if<Text>(&value)) return *text;
  if (const auto* expandable = std::get_if<RegExpandString>(&value)) return expandable->text;
  if (const auto* number = std::get_if<std::uint32_t>(&value)) return NumberText(*number);
  if (const auto* strings = std::get_if<std::vector<Text>>(&value)) return NumberText(std::ssize(*strings)) + u" strings";
  return {};
}

std::string MultiStringBytes(const std::vector<Text>& strings) {
  std::string bytes;
  for (const Text& each : strings) bytes += ToBytes(each + kNul);
  return bytes + std::string(2, '\0');
}

bool HoldsEmpty(const std::vector<Text>& strings) {
  return std::ranges::any_of(strings, [](const Text& each) { return each.empty(); });
}

// The type and the bytes of a value that can be written.
struct RegData {
  std::uint32_t type = 0;
  std::string bytes;
};

std::optional<RegData> DataOf(const RegValue& value) {
  if (const Text* text = std::get_if<Text>(&value)) return RegData{os::RegType::kString, ToBytes(*text + kNul)};
  if (const auto* number = std::get_if<std::uint32_t>(&value)) return RegData{os::RegType::kDword, BytesOf(*number)};
  const auto* strings = std::get_if<std::vector<Text>>(&value);
  if (strings == nullptr || HoldsEmpty(*strings)) return std::nullopt;
  return RegData{os::RegType::kMultiString, MultiStringBytes(*strings)};
}

}  // namespace

bool App_Registry::AddRegFlagWOW64(os::RootKey RootHKEY, Text& sRegKey, std::uint32_t& lDesiredSAM, bool bIsGuestSession) {
  Proc proc(kModule, u"AddRegFlagWOW64", ProcKind::Function);
  const TextView root = RootKeyLongName(RootHKEY);
  proc.ByVal(u"RootHKEY", root);
  proc.ByRef(u"sRegKey", sRegKey);
  proc.ByRef(u"lDesiredSAM", lDesiredSAM);
  proc.ByVal(u"bIsGuestSession", bIsGuestSession);
  return proc.Run(false, [&] {
    if (sRegKey.empty()) {
      proc.Log(u"Aborting; Passed empty string!");
      return false;
    }
    constexpr TextView kSoftware = u"SOFTWARE\\";
    if (!ContainsFolded(sRegKey, u"WOW6432Node")) {
      const bool isSoftware = EqualsFolded(TextView(sRegKey).substr(0, kSoftware.size()), kSoftware);
      if (isSoftware) lDesiredSAM |= os::RegAccess::kView64;
      return true;
    }
    const std::size_t node = FindFolded(sRegKey, kRedirectedNode);
    if (bIsGuestSession || node == kTextNotFound) return true;
    Text variables = u"RootHKEY=" + Text(root) + u"<sep>sRegKey=" + sRegKey + u"<sep>bIsGuestSession=False";
    sRegKey.erase(node, kRedirectedNode.size());
    lDesiredSAM |= os::RegAccess::kView32;
    proc.Log(u"Removed 'WOW6432Node\\' from non-offline/guest registry key string...", EventType::Verbose, variables);
    return true;
  });
}

bool App_Registry::RegKeyExist(os::RootKey RootHKEY, TextView sRegKey, bool bNoViewAdjust) {
  Proc proc(kModule, u"RegKeyExist", ProcKind::Function);
  const TextView root = RootKeyLongName(RootHKEY);
  proc.ByVal(u"RootHKEY", root);
  proc.ByVal(u"sRegKey", sRegKey);
  return proc.Run(false, [&] {
    Text key(sRegKey);
    std::uint32_t access = os::RegAccess::kRead;
    if (!bNoViewAdjust) AddRegFlagWOW64(RootHKEY, key, access);
    std::unique_ptr<os::RegistryKey> open;
    const os::Error error = registry_.Open(RootHKEY, key, access, open);
    if (error.Ok()) return true;
    LogFailure(proc, u"RegOpenKeyExW", error, u"2,3,5");
    if (error.IsNotFound()) {
      proc.Log(u"Registry key does not exist!", EventType::Verbose);
      return false;
    }
    const bool isDenied = error == SystemError::kAccessDenied;
    proc.Log(isDenied ? u"Access Denied; Returning True!" : u"WARNING:  Registry key may or may not exist!",
             EventType::Verbose);
    return true;
  });
}

RegValue App_Registry::RegReadValue(os::RootKey RootHKEY, TextView sRegKey, TextView sValueName, bool bNoViewAdjust) {
  Proc proc(kModule, u"RegReadValue", ProcKind::Function);
  const TextView root = RootKeyLongName(RootHKEY);
  std::uint32_t lDesiredSAM = os::RegAccess::kRead;
  proc.ByVal(u"RootHKEY", root);
  proc.ByVal(u"sRegKey", sRegKey);
  proc.ByVal(u"sValueName", sValueName);
  proc.Created(u"lDesiredSAM", lDesiredSAM);
  RegValue value;
  proc.Run([&] {
    Text key(sRegKey);
    if (!bNoViewAdjust) AddRegFlagWOW64(RootHKEY, key, lDesiredSAM);
    std::unique_ptr<os::RegistryKey> open;
    const os::Error error = registry_.Open(RootHKEY, key, lDesiredSAM, open);
    if (error.Failed()) {
      LogFailure(proc, u"RegOpenKeyExW", error, kMissingKeyErrors);
    } else if (!ReadInto(proc, *open, sValueName, value)) {
      value = {};
    }
  });
  return value;
}

bool App_Registry::ReadInto(Proc& proc, os::RegistryKey& key, TextView name, RegValue& out) {
  std::uint32_t type = 0;
  std::uint32_t lDataLen = 0;
  os::Error error = key.QueryLength(name, type, lDataLen);
  if (error.Failed()) {
    LogFailure(proc, StepName(type, true), error, kMissingKeyErrors);
    return false;
  }
  if (lDataLen > kMaxValueBytes) {
    LogFailure(proc, StepName(type, true), SystemError::kMoreData);
    return false;
  }
  std::string data;
  error = key.QueryData(name, kMaxValueBytes, type, data);
  if (error.Failed()) {
    LogFailure(proc, StepName(type, false), error);
    return false;
  }
  if (type == os::RegType::kString) {
    out = StringOf(data);
  } else if (type == os::RegType::kExpandString) {
    out = RegExpandString(StringOf(data));
  } else if (type == os::RegType::kMultiString) {
    out = StringsOf(data);
  } else if (type == os::RegType::kBinary) {
    out = std::move(data);
  } else if (type == os::RegType::kDword && data.size() == 4) {
    out = NumberOf(data);
  } else {
    proc.Log(u"The value has a type or length that is not supported: type " + NumberText(type));
    return false;
  }
  return true;
}

Text App_Registry::RegReadString(os::RootKey RootHKEY, TextView sRegKey, TextView sValueName) {
  const RegValue value = RegReadValue(RootHKEY, sRegKey, sValueName);
  if (const Text* text = std::get_if<Text>(&value)) return *text;
  const auto* expandable = std::get_if<RegExpandString>(&value);
  return expandable ? expandable->text : Text();
}

bool App_Registry::RegWriteValue(os::RootKey RootHKEY, TextView sRegKey, TextView sValueName, const RegValue& vRegData) {
  const std::optional<RegData> data = DataOf(vRegData);
  const auto length = static_cast<std::uint32_t>(data ? data->bytes.size() : 0);
  return RegWriteValue(RootHKEY, sRegKey, sValueName, vRegData, length, data ? data->type : 0);
}

bool App_Registry::RegWriteValue(os::RootKey RootHKEY, TextView sRegKey, TextView sValueName, const RegValue& vRegData,
                                 std::uint32_t lDataLen, std::uint32_t lValueType) {
  Proc proc(kModule, u"RegWriteValue", ProcKind::Function);
  const TextView root = RootKeyLongName(RootHKEY);
  const Text shown = Shown(vRegData);
  std::uint32_t lDesiredSAM = os::RegAccess::kRead | os::RegAccess::kWrite;
  proc.ByVal(u"RootHKEY", root);
  proc.ByVal(u"sRegKey", sRegKey);
  proc.ByVal(u"sValueName", sValueName);
  proc.ByVal(u"vRegData", shown);
  proc.ByVal(u"lDataLen", lDataLen);
  proc.ByVal(u"lValueType", lValueType);
  proc.Created(u"lDesiredSAM", lDesiredSAM);
  return proc.Run(false, [&] {
    const std::optional<RegData> data = DataOf(vRegData);
    if (std::holds_alternative<std::string>(vRegData)) {
      proc.Log(u"REG_BINARY not supported in this function.");
      return false;
    }
    if (!data || data->type != lValueType) {
      proc.Log(u"This value is not supported in this function.");
      return false;
    }
    Text key(sRegKey);
    if (!AddRegFlagWOW64(RootHKEY, key, lDesiredSAM)) return false;
    std::unique_ptr<os::RegistryKey> open;
    if (const os::Error error = registry_.Create(RootHKEY, key, lDesiredSAM, open); error.Failed()) {
      LogFailure(proc, u"RegCreateKeyExW", error);
      return false;
    }
    const os::Error error = open->SetData(sValueName, data->type, std::string_view(data->bytes).substr(0, lDataLen));
    if (error.Ok()) return true;
    LogFailure(proc, Text(u"RegSetValueExW ").append(TypeName(data->type)), error);
    return false;
  });
}

TextView RootKeyLongName(os::RootKey root) {
  const RootName* found = FindRoot(root);
  return found ? found->name : TextView();
}

TextView RegResultText(std::uint32_t code) {
  for (const ResultText& each : kResults) {
    if (each.code == code) return each.text;
  }
  return u"Unknown Return Value.";
}

}  // namespace ovs
