// The e-mail service module: turns an alert into a mail to the client whose machine this is, and one to the technician who
// looks after it.
#pragma once

#include <cstdint>
#include <vector>

#include "base/Text.h"
#include "config/App_Common.h"
#include "config/Config_Class.h"
#include "mail/message/AlertMailer.h"
#include "mail/message/vtxEmail.h"
#include "platform/App_Registry.h"

namespace ovs {

// The module's collaborators; all must outlive it.
struct EmailServiceParts {
  App_Common& ini;
  App_Registry& registry;
  App_FileSystem& fileSystem;
  App_Env& environment;
  MailEngines& engines;
  MailUser& user;
  const Config_Class& store;
  MailOutcomeSink onOutcome = {};  // may be empty
};

// One thread at a time.
class modEmailSvc final : public AlertMailer {
 public:
  // The main settings file is the application folder's "Config\Orvanta.ini", read once for each alert: the client's copy and
  // the technician's are made of one version of it.
  explicit modEmailSvc(const EmailServiceParts& parts);
  modEmailSvc(const modEmailSvc&) = delete;
  modEmailSvc& operator=(const modEmailSvc&) = delete;

  Text SendEventsEmail(TextView subject, TextView body, TextView attachmentPath) override;

  // One mail that an alert gives rise to.
  struct Copy {
    Text to;
    Text sender;  // that the mail names
    bool isClients = false;
  };
  // The copies that an alert would have at this moment, in their order, whether or not they can be sent.
  [[nodiscard]] std::vector<Copy> AlertCopies();
  [[nodiscard]] std::vector<Copy> AlertCopies(const PlainIni& ini);
  // The technician's, whether or not technicians get alerts; without address when none is set.
  [[nodiscard]] Copy TechnicianCopy();

  // The way that a mail would take at this moment, or by these settings. Whether there is a password is told, the password
  // is not.
  struct Route {
    bool usable = false;
    Text problem;  // a setting that is missing or cannot be read; empty when usable
    Text host;
    Text port;
    Text userName;
    bool hasPassword = false;
    bool logsIn = false;
    std::int32_t portNumber = 0;
    std::int32_t sslType = 0;
    Text engine;  // and the security of its connection:
    SmtpPlan plan;
  };
  [[nodiscard]] Route RouteOfMails() { return RouteOfMails(LoadSettings()); }
  [[nodiscard]] Route RouteOfMails(const PlainIni& ini);

  // Composes and sends one mail by the settings file as it is now; true when it was sent. The client's details and the
  // attachments go to technicians only. `attachmentPath` names a file or a folder whose files are attached.
  bool SendEmail(TextView toAddress, TextView senderText, TextView subject, TextView body, TextView attachmentPath);

  // Loads the SMTP settings; true when technician address, host and port are all present. A setting that is missing keeps
  // its earlier value. A number or a password that cannot be read ends the loading: false.
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
    Text port;          // the server's, as it was typed
    SmtpServer server;  // SSL type and login method are -1 while none is set
  };
  // A mail as its caller wants it.
  struct Order {
    TextView to;
    TextView sender;
    TextView subject;
    TextView body;
    TextView attachmentPath;
  };
  // The person whose machine this is.
  struct Client {
    Text identifier;
    Text name;
    Text phone;
    Text address;
  };

  // The whole number that the text is; throws RuntimeError when it is none.
  [[nodiscard]] static std::int32_t NumberOf(const SettingName& setting, TextView value);
  // The main settings file as it is now; without keys when it is missing or unusable.
  [[nodiscard]] PlainIni LoadSettings();
  [[nodiscard]] Copy TechnicianCopy(const PlainIni& ini);
  // Without `known` the settings file is read. `problem` becomes the reason of a false.
  bool TakeConfig(const PlainIni* known, Text& problem);
  [[nodiscard]] bool TakeServer(const PlainIni& ini, Text& problem);
  [[nodiscard]] bool TakePassword(const PlainIni& ini, Text& problem);
  // A text below HKEY_LOCAL_MACHINE; empty when it is missing.
  [[nodiscard]] Text MachineValue(TextView key, TextView name);
  // The client's value of that name, from the second key when the first has none.
  [[nodiscard]] Text ClientValue(TextView name);

  // modEmailSvcCompose.cpp
  bool Send(const PlainIni* known, const Order& order);
  [[nodiscard]] bool ComposeAndSend(class Proc& proc, const PlainIni& ini, const Order& order, MailOutcome& outcome);
  [[nodiscard]] std::vector<Text> FilesToAttach(TextView attachmentPath);
  [[nodiscard]] bool IsTechnician(const PlainIni& ini, TextView address);
  [[nodiscard]] Text ReportName();
  [[nodiscard]] Text BodyHead(const PlainIni& ini);
  [[nodiscard]] Text ClientDetails(const Client& client);
  [[nodiscard]] MailParts PartsOfMail() const;
  // Throws RuntimeError when the port is no number.
  void SetServer(SmtpServer& server) const;

  EmailServiceParts parts_;
  Text configIniPath_;
  Settings settings_;
};

}  // namespace ovs
