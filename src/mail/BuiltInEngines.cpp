#include "mail/BuiltInEngines.h"

#include "mail/CurlMailer.h"
#include "mail/LibzipArchive.h"

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
