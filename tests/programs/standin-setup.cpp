// standin-setup: points the moniker prefix "winmgmts" of the current Wine prefix at the test stand-in, and back.
//   standin-setup [register] [--dll PATH] [--feed PATH] [--fail-query 0|1] [--fail-connect 0|1]
//                 registers wmi_standin.dll (the one beside this program unless told otherwise; may be repeated) and
//                 sets what is given
//   standin-setup unregister
//                 puts back what the prefix had before and removes the stand-in's keys
// It refuses to run on a real Windows, where it would cut every other program off from the real service.
// Exit codes: 0 done, 1 failed, 2 usage.
#include <windows.h>

#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "Console.h"
#include "standin/StandinNames.h"

namespace {

using namespace ovs::tools;
using namespace ovs::standin;

constexpr wchar_t kMonikerClass[] = L"winmgmts\\CLSID";

std::wstring ClassKey() { return std::wstring(L"CLSID\\") + kClsid; }

void Check(LSTATUS error, const std::wstring& what) {
  if (error != ERROR_SUCCESS) throw std::runtime_error(Utf8(what) + ": error " + std::to_string(error));
}

std::wstring Text(HKEY root, const std::wstring& key, const wchar_t* name) {
  wchar_t text[32768] = L"";
  DWORD bytes = sizeof text;
  if (RegGetValueW(root, key.c_str(), name, RRF_RT_REG_SZ, nullptr, text, &bytes) != ERROR_SUCCESS) return {};
  return text;
}

void SetText(HKEY root, const std::wstring& key, const wchar_t* name, const std::wstring& text) {
  const auto bytes = static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t));
  Check(RegSetKeyValueW(root, key.c_str(), name, REG_SZ, text.c_str(), bytes), key);
}

void CheckSwitch(const std::wstring& text) {
  if (!text.empty() && text != L"0" && text != L"1") throw std::invalid_argument("a switch is 0 or 1");
}

void SetSwitch(const wchar_t* name, const std::wstring& text) {
  const DWORD number = text == L"1";
  Check(RegSetKeyValueW(HKEY_LOCAL_MACHINE, kSettingsKey, name, REG_DWORD, &number, sizeof number), kSettingsKey);
}

std::wstring FullPath(const std::wstring& path) { return std::filesystem::absolute(path).make_preferred().wstring(); }

std::wstring LibraryBesideThis() {
  wchar_t path[32768] = L"";
  GetModuleFileNameW(nullptr, path, static_cast<DWORD>(std::size(path)));
  return (std::filesystem::path(path).parent_path() / L"wmi_standin.dll").wstring();
}

// The former class is remembered once only, or a second registration would remember the stand-in itself.
void Register(const std::wstring& library) {
  if (GetFileAttributesW(library.c_str()) == INVALID_FILE_ATTRIBUTES)
    throw std::runtime_error("no such file: " + Utf8(library));
  const std::wstring server = ClassKey() + L"\\InprocServer32";
  SetText(HKEY_CLASSES_ROOT, ClassKey(), nullptr, kClassTitle);
  SetText(HKEY_CLASSES_ROOT, server, nullptr, library);
  SetText(HKEY_CLASSES_ROOT, server, L"ThreadingModel", L"Both");
  const std::wstring former = Text(HKEY_CLASSES_ROOT, kMonikerClass, nullptr);
  if (former == kClsid) return;
  SetText(HKEY_LOCAL_MACHINE, kSettingsKey, kFormerClassValue, former);
  SetText(HKEY_CLASSES_ROOT, kMonikerClass, nullptr, kClsid);
}

void Unregister() {
  if (Text(HKEY_CLASSES_ROOT, kMonikerClass, nullptr) == kClsid) {
    const std::wstring former = Text(HKEY_LOCAL_MACHINE, kSettingsKey, kFormerClassValue);
    if (former.empty()) {
      Check(RegDeleteTreeW(HKEY_CLASSES_ROOT, L"winmgmts"), L"winmgmts");
    } else {
      SetText(HKEY_CLASSES_ROOT, kMonikerClass, nullptr, former);
    }
  }
  RegDeleteTreeW(HKEY_CLASSES_ROOT, ClassKey().c_str());
  RegDeleteTreeW(HKEY_LOCAL_MACHINE, kSettingsKey);
}

struct Orders {
  std::wstring library = LibraryBesideThis();
  std::wstring feed, failQuery, failConnect;

  std::wstring& Of(const std::wstring& option) {
    if (option == L"--dll") return library;
    if (option == L"--feed") return feed;
    if (option == L"--fail-query") return failQuery;
    if (option == L"--fail-connect") return failConnect;
    throw std::invalid_argument("unknown option " + Utf8(option));
  }
};

void Apply(const std::vector<std::wstring>& arguments) {
  Orders orders;
  if (arguments.size() % 2 != 0) throw std::invalid_argument("an option lacks its value");
  for (std::size_t i = 0; i < arguments.size(); i += 2) orders.Of(arguments[i]) = arguments[i + 1];
  CheckSwitch(orders.failQuery);
  CheckSwitch(orders.failConnect);
  Register(FullPath(orders.library));
  if (!orders.feed.empty()) SetText(HKEY_LOCAL_MACHINE, kSettingsKey, kFeedValue, FullPath(orders.feed));
  if (!orders.failQuery.empty()) SetSwitch(kFailQueryValue, orders.failQuery);
  if (!orders.failConnect.empty()) SetSwitch(kFailConnectValue, orders.failConnect);
  Say("stand-in registered, feed " + Utf8(Text(HKEY_LOCAL_MACHINE, kSettingsKey, kFeedValue)));
}

bool IsWine() { return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr; }

void Run(std::vector<std::wstring> arguments) {
  if (!IsWine()) throw std::runtime_error("the stand-in is for Wine prefixes only");
  if (arguments == std::vector<std::wstring>{L"unregister"}) {
    Unregister();
    Say("stand-in unregistered");
    return;
  }
  if (!arguments.empty() && arguments[0] == L"register") arguments.erase(arguments.begin());
  Apply(arguments);
}

}  // namespace

int wmain(int argc, wchar_t** argv) try {
  Run({argv + 1, argv + argc});
  return 0;
} catch (const std::invalid_argument& error) {
  Say(std::string("usage: standin-setup [register] [--dll PATH] [--feed PATH] [--fail-query 0|1] [--fail-connect 0|1]"
                  " | unregister\n") +
      error.what());
  return 2;
} catch (const std::exception& error) {
  Say(error.what());
  return 1;
}
