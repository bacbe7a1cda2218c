// Archives by the closed archive component, through COM. An object belongs to the thread and the COM apartment in which it
// was made.
#pragma once

#include <initializer_list>

#include "mail/engines/MailComponent.h"
#include "os/win32/Automation.h"

namespace ovs {

class ckZip final : public ZipArchive {
 public:
  static constexpr TextView kProgId = u"Chilkat_9_5_0.Zip";

  // Throws RuntimeError when the component cannot be made or refuses the code.
  explicit ckZip(TextView unlockCode);

  bool Create(TextView path) override;
  bool AppendFile(TextView path) override;
  bool Write() override;
  [[nodiscard]] Text LastErrorText() override;

 private:
  bool Succeeds(TextView method, std::initializer_list<win32::AutomationValue> arguments);

  win32::AutomationObject zip_;
  Text raised_;  // by the last call
};

}  // namespace ovs
