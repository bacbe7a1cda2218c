#include "ovsctl/live/LiveFailure.h"

#include <algorithm>
#include <iterator>

#include "base/App_Strings.h"
#include "ovsctl/service/win32/ServiceControl.h"

namespace ovs::os {

namespace {

constexpr TextView kAsAdministrator =
    u"start the command prompt with \"Run as administrator\" (right click on it) and try again";

// The failure explained by a needed service that does not run; empty when it runs or cannot be asked.
Text StoppedServiceText() {
  struct Needed {
    TextView name;
    TextView title;
  };
  constexpr Needed kNeeded[] = {{u"EventLog", u"Windows Event Log"}, {u"Winmgmt", u"Windows Management Instrumentation"}};
  win32::ServiceHandle manager;
  if (win32::OpenManager(SC_MANAGER_CONNECT, manager).Failed()) return {};
  for (const Needed& needed : kNeeded) {
    win32::ServiceHandle service;
    DWORD state = 0;
    if (win32::OpenServiceOf(manager.get(), needed.name, SERVICE_QUERY_STATUS, service).Failed()) continue;
    if (win32::StateOf(service.get(), state).Failed() || state != SERVICE_STOPPED) continue;
    return u"the service \"" + Text(needed.title) + u"\" does not run; start it with: net start " + Text(needed.name);
  }
  return {};
}

bool IsRefusal(int number) {
  constexpr std::uint32_t kRefusals[] = {
      0x80041003U,  // WBEM_E_ACCESS_DENIED
      0x80041062U,  // WBEM_E_PRIVILEGE_NOT_HELD
      0x80070005U,  // E_ACCESSDENIED
      0x80070522U,  // a required privilege is not held
  };
  return std::ranges::find(kRefusals, static_cast<std::uint32_t>(number)) != std::end(kRefusals);
}

}  // namespace

Text LiveFailureText(const RuntimeError& error, TextView log) {
  if (IsRefusal(error.Number())) {
    const bool isSecurity = App_Strings::StringsMatch(log, u"Security");
    return (isSecurity ? Text(u"only administrators may read the log Security") : Text(u"Windows refused the records")) +
           u"; " + Text(kAsAdministrator);
  }
  const Text stopped = StoppedServiceText();
  return u"the event records cannot be read: " + (stopped.empty() ? error.Description() : stopped);
}

}  // namespace ovs::os
