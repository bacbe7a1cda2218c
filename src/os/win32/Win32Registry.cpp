#include <windows.h>

#include "os/Registry.h"
#include "os/win32/Win32Support.h"

namespace ovs::os {

namespace {

constexpr std::uint32_t kViewBits = RegAccess::kView64 | RegAccess::kView32;

// The predefined handles are 32-bit numbers with the sign extended.
HKEY HandleOf(RootKey root) { return reinterpret_cast<HKEY>(static_cast<LONG_PTR>(static_cast<LONG>(root))); }

Error Result(LSTATUS code) { return Error(static_cast<std::uint32_t>(code)); }

class Win32RegistryKey : public RegistryKey {
 public:
  explicit Win32RegistryKey(HKEY key) : key_(key) {}
  Win32RegistryKey(const Win32RegistryKey&) = delete;
  Win32RegistryKey& operator=(const Win32RegistryKey&) = delete;
  ~Win32RegistryKey() override { RegCloseKey(key_); }

  Error QueryLength(TextView name, std::uint32_t& type, std::uint32_t& bytes) override {
    DWORD kind = 0;
    DWORD length = 0;
    const LSTATUS code = RegQueryValueExW(key_, ToWide(name).c_str(), nullptr, &kind, nullptr, &length);
    type = kind;
    bytes = length;
    return Result(code);
  }

  Error QueryData(TextView name, std::uint32_t limit, std::uint32_t& type, std::string& data) override {
    const std::wstring wide = ToWide(name);
    data.clear();
    for (;;) {
      DWORD kind = 0;
      DWORD length = 0;
      LSTATUS code = RegQueryValueExW(key_, wide.c_str(), nullptr, &kind, nullptr, &length);
      if (code == ERROR_SUCCESS && length > limit) code = ERROR_MORE_DATA;
      type = kind;
      if (code != ERROR_SUCCESS) return Result(code);
      data.resize(length);
      code = RegQueryValueExW(key_, wide.c_str(), nullptr, &kind, reinterpret_cast<BYTE*>(data.data()), &length);
      // The value may have grown since its length was asked for.
      if (code == ERROR_MORE_DATA) continue;
      data.resize(code == ERROR_SUCCESS ? length : 0);
      type = kind;
      return Result(code);
    }
  }

  Error SetData(TextView name, std::uint32_t type, std::string_view data) override {
    // The call looks one unit beyond a text without a terminator and takes it in when it is NUL. What is given is to be
    // stored, so that unit is made none.
    std::string bytes(data);
    bytes.append(2, '\xFF');
    return Result(RegSetValueExW(key_, ToWide(name).c_str(), 0, type, reinterpret_cast<const BYTE*>(bytes.data()),
                                 static_cast<DWORD>(data.size())));
  }

  Error DeleteValue(TextView name) override { return Result(RegDeleteValueW(key_, ToWide(name).c_str())); }

 private:
  HKEY key_;
};

class Win32Registry : public Registry {
 public:
  Error Open(RootKey root, TextView key, std::uint32_t access, std::unique_ptr<RegistryKey>& out) override {
    HKEY opened = nullptr;
    const LSTATUS code = RegOpenKeyExW(HandleOf(root), ToWide(key).c_str(), 0, access, &opened);
    return Take(code, opened, out);
  }

  Error Create(RootKey root, TextView key, std::uint32_t access, std::unique_ptr<RegistryKey>& out) override {
    HKEY opened = nullptr;
    const LSTATUS code = RegCreateKeyExW(HandleOf(root), ToWide(key).c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE, access,
                                         nullptr, &opened, nullptr);
    return Take(code, opened, out);
  }

  Error DeleteKey(RootKey root, TextView key, std::uint32_t access) override {
    return Result(RegDeleteKeyExW(HandleOf(root), ToWide(key).c_str(), access & kViewBits, 0));
  }

 private:
  static Error Take(LSTATUS code, HKEY opened, std::unique_ptr<RegistryKey>& out) {
    out = code == ERROR_SUCCESS ? std::make_unique<Win32RegistryKey>(opened) : nullptr;
    return Result(code);
  }
};

}  // namespace

Registry& SystemRegistry() {
  static Win32Registry registry;
  return registry;
}

}  // namespace ovs::os
