// Archives by the closed archive component.
#pragma once

#include "mail/engines/MailComponent.h"
#include "os/win32/Automation.h"

namespace ovs {

class ChilkatZip final : public ZipArchive {
 public:
  static constexpr TextView kProgId = u"Chilkat_9_5_0.Zip";

  // Throws RuntimeError when the component cannot be made or refuses the code.
  explicit ChilkatZip(TextView unlockCode);

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
