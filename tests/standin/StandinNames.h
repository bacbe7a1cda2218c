// STAND-IN for tests: names that the stand-in of the event-notification service shares with the programs that set it up
// and try it. It serves in a throw-away Wine prefix only, where no such service exists.
#pragma once

namespace ovs::standin {

inline constexpr wchar_t kClsid[] = L"{6B0D3C54-8E7F-4B1A-9C35-52D1A7E0F4C9}";
inline constexpr wchar_t kClassTitle[] = L"Orvanta test stand-in for winmgmts (plays recorded records)";

// Key under HKEY_LOCAL_MACHINE, and its values. A service gets no environment of its own, so the feed is named here;
// the environment variable goes first where there is one.
inline constexpr wchar_t kSettingsKey[] = L"Software\\OrvantaStandin";
inline constexpr wchar_t kFeedValue[] = L"Feed";                        // REG_SZ, full path
inline constexpr wchar_t kFailConnectValue[] = L"FailConnect";          // REG_DWORD, 1: the moniker is refused
inline constexpr wchar_t kFailQueryValue[] = L"FailQuery";              // REG_DWORD, 1: the query is refused
inline constexpr wchar_t kFormerClassValue[] = L"FormerWinmgmtsClass";  // REG_SZ, what the moniker led to before
inline constexpr wchar_t kFeedVariable[] = L"OVS_STANDIN_FEED";

// What the refused moniker and the refused query fail with, an HRESULT.
inline constexpr long kAccessDenied = static_cast<long>(0x80041003);

// The only moniker and the only query that are accepted, to the letter.
inline constexpr wchar_t kMoniker[] = L"winmgmts:{(Security)}\\\\.\\root\\cimv2";
inline constexpr wchar_t kQuery[] = L"Select * From __InstanceCreationEvent Where TargetInstance isa 'Win32_NTLogEvent'";

}  // namespace ovs::standin
