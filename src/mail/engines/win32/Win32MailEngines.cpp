#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <utility>

#include "base/RuntimeError.h"
#include "diag/App_Debug.h"
#include "mail/engines/CurlMailer.h"
#include "mail/engines/win32/ComMail.h"
#include "mail/engines/win32/ckZip.h"
#include "os/win32/Automation.h"

namespace ovs {

namespace {

using win32::AutomationObject;

// The components of the machine before those of the program.
class Win32MailEngines final : public MailEngines {
 public:
  explicit Win32MailEngines(const os::Machine& machine) : builtIn_(machine), clock_(machine.clock) {}

  void Start() override;
  [[nodiscard]] std::unique_ptr<MailComponent> NewComponent(const ClosedComponentOptions& options) override;
  [[nodiscard]] std::unique_ptr<MailComponent> NewSystemMessage() override;
  [[nodiscard]] std::unique_ptr<ZipArchive> NewZip(TextView unlockCode) override;

 private:
  template <class Made>
  using Maker = std::function<std::unique_ptr<Made>()>;
  template <class Made>
  std::unique_ptr<Made> Prefer(TextView progId, const Maker<Made>& component, const Maker<Made>& builtIn);
  void EnterApartment();

  BuiltInEngines builtIn_;
  os::Clock& clock_;
  std::optional<win32::ComApartment> apartment_;
  std::map<Text, Text> reasons_;  // for which a component did not serve the last time
};

void Win32MailEngines::Start() {
  builtIn_.Start();
  EnterApartment();
  const auto serves = [](TextView progId) {
    return AutomationObject::IsRegistered(progId) ? Text(progId) : Text(u"built-in engine");
  };
  Debug::dLog(kNoProc, u"Mail engines: " + serves(ChilkatMailer::kProgId) + u"; system message object " +
                           serves(CdoMailer::kProgId) + u"; archives " + serves(ckZip::kProgId));
}

// The apartment is that of the thread that sends. What is made in it must end before the engines do.
void Win32MailEngines::EnterApartment() {
  if (!apartment_) apartment_.emplace();
}

template <class Made>
std::unique_ptr<Made> Win32MailEngines::Prefer(TextView progId, const Maker<Made>& component,
                                               const Maker<Made>& builtIn) try {
  EnterApartment();
  if (!AutomationObject::IsRegistered(progId)) return builtIn();
  std::unique_ptr<Made> made = component();
  reasons_.erase(Text(progId));
  return made;
} catch (const RuntimeError& error) {
  // Said once for as long as it stays the same.
  Text& known = reasons_[Text(progId)];
  if (Text reason = ErrorText(error); known != reason) {
    known = std::move(reason);
    Debug::dLog(kNoProc, Text(progId) + u" cannot serve, the built-in engine does: " + known);
  }
  return builtIn();
}

std::unique_ptr<MailComponent> Win32MailEngines::NewComponent(const ClosedComponentOptions& options) {
  return Prefer<MailComponent>(
      ChilkatMailer::kProgId, [&] { return std::make_unique<ChilkatMailer>(clock_, options); },
      [&] { return builtIn_.NewComponent(options); });
}

std::unique_ptr<MailComponent> Win32MailEngines::NewSystemMessage() {
  return Prefer<MailComponent>(
      CdoMailer::kProgId, [] { return std::make_unique<CdoMailer>(); }, [&] { return builtIn_.NewSystemMessage(); });
}

std::unique_ptr<ZipArchive> Win32MailEngines::NewZip(TextView unlockCode) {
  return Prefer<ZipArchive>(
      ckZip::kProgId, [&] { return std::make_unique<ckZip>(unlockCode); }, [&] { return builtIn_.NewZip(unlockCode); });
}

}  // namespace

std::unique_ptr<MailEngines> SystemMailEngines(const os::Machine& machine) {
  return std::make_unique<Win32MailEngines>(machine);
}

}  // namespace ovs
