#include "mail/engines/BuiltInEngines.h"

#include "mail/engines/CurlMailer.h"
#include "mail/engines/LibzipArchive.h"

namespace ovs {

void BuiltInEngines::Start() { StartCurl(); }

std::unique_ptr<MailComponent> BuiltInEngines::NewComponent(TextView /*unlockCode*/) {
  return std::make_unique<CurlMailer>(machine_);
}

std::unique_ptr<MailComponent> BuiltInEngines::NewSystemMessage() { return std::make_unique<CurlMailer>(machine_); }

std::unique_ptr<ZipArchive> BuiltInEngines::NewZip(TextView /*unlockCode*/) {
  return std::make_unique<LibzipArchive>(machine_.files);
}

}  // namespace ovs
