// The e-mail service module: turns an alert into a mail to the client whose machine this is, and one to the technician who
// looks after it.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "base/Text.h"
#include "config/App_Common.h"
#include "config/Config_Class.h"
#include "mail/message/AlertMailer.h"
#include "mail/message/vtxEmail.h"
#include "platform/App_Registry.h"

namespace ovs {

// What the module works with; all must outlive it.
struct EmailServiceParts {
  App_Common& ini;
  App_Registry& registry;
  App_FileSystem& fileSystem;
  App_Env& environment;
  MailEngines& engines;
  MailUser& user;
  std::function<const Config_Class*()> store;  // may give null
};

class modEmailSvc final : public AlertMailer {
 public:
  // The main settings file is the application folder's "Config\Orvanta.ini", read anew for each mail.
  explicit modEmailSvc(const EmailServiceParts& parts);
  ~modEmailSvc() override;
  modEmailSvc(const modEmailSvc&) = delete;
  modEmailSvc& operator=(const modEmailSvc&) = delete;

  Text SendEventsEmail(TextView subject, TextView body, TextView attachmentPath) override;

  // One mail that an alert gives rise to.
  struct Copy {
    Text to;
    Text sender;  // who the mail names as its sender
    bool isClients = false;
  };
  // Those an alert would have at this moment, in their order; whether they can be sent is not looked at.
  [[nodiscard]] std::vector<Copy> AlertCopies();
  // The technician's, whether or not technicians get alerts; without address when none is set.
  [[nodiscard]] Copy TechnicianCopy();

  // The way a mail would take at this moment. The password is only told to be there.
  struct Route {
    bool usable = false;  // false when something is missing or cannot be read; the debug log tells what
    Text host;
    Text port;
    Text userName;
    bool hasPassword = false;
    std::int32_t sslType = 0;
    std::int32_t autoFix = 1;
    Text engine;
  };
  [[nodiscard]] Route RouteOfMails();

  // Composes and sends one mail; true when it was sent. The client's details and the attachments go to technicians only.
  // `attachmentPath` names a file or a folder whose files are attached.
  bool SendEmail(TextView toAddress, TextView senderText, TextView subject, TextView body, TextView attachmentPath);

  // Loads the SMTP settings; true when technician address, host and port are all present. What is missing keeps its
  // earlier value. A number or a password that cannot be read ends the loading: false.
  bool GetEmailConfig();

  [[nodiscard]] Text GetClientEmail();
  [[nodiscard]] Text GetClientIdentifier();
  [[nodiscard]] Text GetClientPhone();
  [[nodiscard]] Text GetClientName();
  [[nodiscard]] bool EmailClientCustomApp();

  // Appends the names of the folder's files that match the pattern; sub-folders are neither listed nor entered.
  void ListFolderFiles(TextView folder, TextView pattern, std::vector<Text>& files);

 private:
  struct Settings {
    Text technicianAddress;
    Text host;
    Text port;
    Text username;
    Text password;
    std::int32_t autoFix = 1;
    std::int32_t sslType = -1;     // none set
    std::int32_t authMethod = -1;  // none set
  };
  // Who the machine's user is.
  struct Client {
    Text identifier;
    Text name;
    Text phone;
    Text address;
  };

  // The main settings file as it is now; without keys when it is missing or unusable.
  [[nodiscard]] PlainIni LoadSettings();
  [[nodiscard]] Copy TechnicianCopy(const PlainIni& ini);
  [[nodiscard]] bool TakePassword(class Proc& proc, const PlainIni& ini);
  // A text below HKEY_LOCAL_MACHINE; empty when it is missing.
  [[nodiscard]] Text MachineValue(TextView key, TextView name);
  // The client's value of that name, from the second key when the first has none.
  [[nodiscard]] Text ClientValue(TextView name);

  // modEmailSvcCompose.cpp
  [[nodiscard]] std::vector<Text> FilesToAttach(TextView attachmentPath);
  [[nodiscard]] bool IsTechnician(const PlainIni& ini, TextView address);
  [[nodiscard]] Text ReportName();
  [[nodiscard]] Text BodyHead(const PlainIni& ini);
  [[nodiscard]] Text ClientDetails(const Client& client);
  [[nodiscard]] MailParts PartsOfMail() const;
  void SetSmtpSettings(vtxEmail& mail) const;

  EmailServiceParts parts_;
  Text configIniPath_;
  Settings settings_;
};

}  // namespace ovs
