// The table of settings: every section and key that the program reads by a fixed name, and the values each may have.
// Readers take an entry of this table, `ovsctl check` judges files by it, and a test holds the documentation to it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "base/Text.h"

namespace ovs {

enum class SettingKind {
  Plain,
  Switch,       // on exactly when it is "1"
  WideSwitch,   // of program settings: on when it is "1" or "2", blanks aside
  Number,       // within `least` and `most`
  Addresses,    // one or more, commas between
  File,         // that exists
  EventNumber,  // what WMI calls the event code
  Scrambled,    // the SMTP password
  Secret,       // encrypted or plain
};

struct SettingName {
  // Explicit, so that no pair of texts passes for an entry of the table.
  explicit consteval SettingName(TextView itsSection, TextView itsKey, SettingKind itsKind = SettingKind::Plain,
                                 std::int32_t smallest = 0, std::int32_t largest = 0)
      : section(itsSection), key(itsKey), kind(itsKind), least(smallest), most(largest) {}

  TextView section;  // empty for program settings, whose files know none
  TextView key;
  SettingKind kind;
  std::int32_t least;  // this and the next for numbers
  std::int32_t most;
};

template <std::size_t n>
[[nodiscard]] consteval std::array<TextView, n> KeyTexts(std::span<const SettingName, n> settings) {
  std::array<TextView, n> keys;
  for (std::size_t i = 0; i < n; ++i) keys[i] = settings[i].key;
  return keys;
}

// Config\Orvanta.ini. A constant that is added belongs into kAll as well, here and below.
namespace MainSettings {

using enum SettingKind;

inline constexpr SettingName kDiskEvents{u"Monitoring", u"DiskEvents", Switch};          // disk check before the rules
inline constexpr SettingName kDiskEventsRuleName{u"Monitoring", u"DiskEventsRuleName"};  // rule name of disk alerts
inline constexpr SettingName kEventEmails{u"Monitoring", u"EventEmails", Switch};        // alerts are mailed

inline constexpr SettingName kTimesInUtc{u"Config", u"DisplayEventLogTimesInUTC", Switch};
inline constexpr SettingName kDateYearFirst{u"Config", u"DisplayEventLogDateYearFirst", Switch};
inline constexpr SettingName kTimeAs24Hour{u"Config", u"DisplayEventLogTimeAs24Hour", Switch};

inline constexpr SettingName kAdminEmail{u"EmailConfig", u"AdminEmail", Addresses};  // the technician
inline constexpr SettingName kAdminName{u"EmailConfig", u"AdminName"};               // before it in the client's copy
inline constexpr SettingName kSmtpServer{u"EmailConfig", u"SMTPServer"};
inline constexpr SettingName kSmtpPort{u"EmailConfig", u"SMTPPort", Number, 1, 65535};
inline constexpr SettingName kSmtpUserName{u"EmailConfig", u"SMTPUserName"};
inline constexpr SettingName kSmtpPassword{u"EmailConfig", u"SMTPPassword", Scrambled};
inline constexpr SettingName kUseSsl{u"EmailConfig", u"UseSSL", Number, 0, 4};      // kind of TLS
inline constexpr SettingName kSmtpAuth{u"EmailConfig", u"SMTPAuth", Number, 0, 5};  // way of the login
inline constexpr SettingName kAutoFix{u"EmailConfig", u"AutoFix", Number, 0, 1};    // TLS corrected to suit the port

inline constexpr SettingName kEmailAdminEvents{u"EmailOptions", u"EmailAdminEvents", Switch};  // the technician's copy
inline constexpr SettingName kSupportEmail{u"Branding", u"SupportEmail", Addresses};  // counts as the technician's too
inline constexpr SettingName kAppName{u"Branding", u"AppName"};                       // opens every mail

inline constexpr SettingName kAll[] = {
    kDiskEvents, kDiskEventsRuleName, kEventEmails, kTimesInUtc,       kDateYearFirst, kTimeAs24Hour,
    kAdminEmail, kAdminName,          kSmtpServer,  kSmtpPort,         kSmtpUserName,  kSmtpPassword,
    kUseSsl,     kSmtpAuth,           kAutoFix,     kEmailAdminEvents, kSupportEmail,  kAppName,
};

}  // namespace MainSettings

// The rule files below Config\Rules.
namespace RuleSettings {

using enum SettingKind;

inline constexpr SettingName kEventID{u"EventDetail", u"EventID", EventNumber};
inline constexpr SettingName kEventSource{u"EventDetail", u"EventSource"};
inline constexpr SettingName kEventDesc{u"EventDetail", u"EventDesc"};      // a text that must occur
inline constexpr SettingName kEventDescEx{u"EventDetail", u"EventDescEx"};  // a text that must not

inline constexpr SettingName kAll[] = {
    SettingName{u"LogFile", u"System", Switch},
    SettingName{u"LogFile", u"Application", Switch},
    SettingName{u"LogFile", u"Security", Switch},
    SettingName{u"LogFile", u"Microsoft-Windows-Windows Defender/Operational", Switch},
    SettingName{u"LogFile", u"Microsoft-Windows-Windows Firewall With Advanced Security/Firewall", Switch},
    SettingName{u"LogFile", u"Microsoft-Windows-WindowsUpdateClient/Operational", Switch},
    SettingName{u"EventType", u"Error", Switch},
    SettingName{u"EventType", u"Warning", Switch},
    SettingName{u"EventType", u"Info", Switch},
    SettingName{u"EventType", u"Success", Switch},
    SettingName{u"EventType", u"Failure", Switch},
    kEventID,
    kEventSource,
    kEventDesc,
    kEventDescEx,
};

// The logs that a rule can name, in the order in which a record's log is looked up, and the types of records.
inline constexpr std::span<const SettingName, 6> kLogs = std::span(kAll).subspan<0, 6>();
inline constexpr std::span<const SettingName, 5> kTypes = std::span(kAll).subspan<6, 5>();

}  // namespace RuleSettings

// The program's own settings: the .cfg files.
namespace ProgramSettings {

using enum SettingKind;

inline constexpr SettingName kLogVerbose{{}, u"Debug.Log.Verbose", WideSwitch};    // detailed entries in the debug log
inline constexpr SettingName kLogRealTime{{}, u"Debug.Log.RealTime", WideSwitch};  // each entry is written at once
inline constexpr SettingName kSystemOutput{{}, u"Debug.SystemOutput.Enable", WideSwitch};  // entries to a debugger too
inline constexpr SettingName kSystemOutputPrefix{{}, u"Debug.SystemOutput.Prefix"};
inline constexpr SettingName kEnvDump{{}, u"Debug.EnvDump", WideSwitch};    // report on the machine
inline constexpr SettingName kProcDump{{}, u"Debug.ProcDump", WideSwitch};  // report on every procedure that ran
inline constexpr SettingName kProcDumpIncompleteOnly{{}, u"Debug.ProcDump.IncompleteOnly", WideSwitch};
inline constexpr SettingName kProcDumpIncludeTimers{{}, u"Debug.ProcDump.IncludeProcTimers", WideSwitch};
inline constexpr SettingName kProcDumpEventTypes{{}, u"Debug.ProcDump.EventTypes", Number, -1, 63};  // a sum of bits
inline constexpr SettingName kPerfTimer{{}, u"Debug.PerfTimer.Enable", WideSwitch};  // the system's fine timer

inline constexpr SettingName kChilkatVerbose{{}, u"Debug.Chilkat.Verbose", WideSwitch};
inline constexpr SettingName kChilkatWriteLogFiles{{}, u"Debug.Chilkat.WriteLogFiles", WideSwitch};
inline constexpr SettingName kChilkatUnlockCode{{}, u"Email.Chilkat.UnlockCode"};

inline constexpr SettingName kWanAddress{{}, u"Env.WANAddress"};  // as the outside world sees the machine

inline constexpr SettingName kSmtpCaFile{{}, u"Email.SMTP.CAFile", File};  // an authority trusted besides the system's
inline constexpr SettingName kSmtpAllowUntrusted{{}, u"Email.SMTP.AllowUntrusted", Switch};           // nothing is verified
inline constexpr SettingName kSmtpConnectTimeout{{}, u"Email.SMTP.ConnectTimeout", Number, 1, 3600};  // seconds
inline constexpr SettingName kSmtpSendTimeout{{}, u"Email.SMTP.SendTimeout", Number, 1, 3600};        // of a whole mail

// Defaults of a message object whose caller sets nothing.
inline constexpr SettingName kSmtpSslType{{}, u"Email.SMTP.SSLType", Number, 0, 4};
inline constexpr SettingName kSmtpSslProtocol{{}, u"Email.SMTP.SSLProtocol", Number, 0, 7};
inline constexpr SettingName kSmtpHost{{}, u"Email.SMTP.Host"};
inline constexpr SettingName kSmtpPort{{}, u"Email.SMTP.Port", Number, 1, 65535};
inline constexpr SettingName kSmtpUsername{{}, u"Email.SMTP.Username"};
inline constexpr SettingName kSmtpPassword{{}, u"Email.SMTP.Password", Secret};
inline constexpr SettingName kSmtpAuthMethod{{}, u"Email.SMTP.AuthMethod", Number, 0, 5};
inline constexpr SettingName kSmtpAutoFix{{}, u"Email.SMTP.AutoFix", Number, 0, 1};
inline constexpr SettingName kEmailFrom{{}, u"Email.From", Addresses};
inline constexpr SettingName kEmailReplyTo{{}, u"Email.ReplyTo", Addresses};
inline constexpr SettingName kEmailTo{{}, u"Email.To", Addresses};
inline constexpr SettingName kPromptForSubject{{}, u"Email.PromptForSubject", WideSwitch};

inline constexpr SettingName kAll[] = {
    kLogVerbose,
    kLogRealTime,
    kSystemOutput,
    kSystemOutputPrefix,
    kEnvDump,
    kProcDump,
    kProcDumpIncompleteOnly,
    kProcDumpIncludeTimers,
    kProcDumpEventTypes,
    kPerfTimer,
    kChilkatVerbose,
    kChilkatWriteLogFiles,
    kChilkatUnlockCode,
    kWanAddress,
    kSmtpCaFile,
    kSmtpAllowUntrusted,
    kSmtpConnectTimeout,
    kSmtpSendTimeout,
    kSmtpSslType,
    kSmtpSslProtocol,
    kSmtpHost,
    kSmtpPort,
    kSmtpUsername,
    kSmtpPassword,
    kSmtpAuthMethod,
    kSmtpAutoFix,
    kEmailFrom,
    kEmailReplyTo,
    kEmailTo,
    kPromptForSubject,
};

}  // namespace ProgramSettings

}  // namespace ovs
