// STAND-IN for tests: the classes of the closed mail components, registered for this process and its user. Their objects
// know the members that the real ones are known to have, do nothing, and note their calls in one journal:
//   MailMan.SmtpHost='mail'; Email.AddTo('Jane', 'jane@example.com'); smtpserver.Status;
// Texts are in quotes, numbers and truth values are not.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <set>
#include <string>
#include <variant>
#include <vector>

#include "base/Text.h"
#include "os/win32/Automation.h"

namespace ovs::standin {

// An error that the client is shown.
struct Raise {
  std::int32_t code;
  Text description;
};
using Answer = std::variant<std::int32_t, Text, Raise>;

class ComStandIn {
 public:
  ComStandIn() = default;
  ComStandIn(const ComStandIn&) = delete;
  ComStandIn& operator=(const ComStandIn&) = delete;
  ~ComStandIn();

  // Registers the class of that name; objects of it can be made unless it is said to be broken.
  void Register(TextView progId, bool broken = false);
  // All those that the mail floor knows.
  void RegisterMailComponents();

  // Orders, by class and member, as in "MailMan.SendEmail". Of several answers each serves once, the last one for ever.
  // Without an order methods give 1 (those that give a text a text), a field's status 0 and other properties nothing.
  std::map<Text, std::deque<Answer>> answers;
  std::set<Text> missing;

  std::string TakeJournal();

 private:
  friend class Recorder;
  struct Class {
    bool forUser = true;
    std::wstring key;
    unsigned long cookie = 0;
  };

  win32::ComApartment apartment_;
  std::vector<Class> classes_;
  std::string journal_;
  int live_ = 0;
};

}  // namespace ovs::standin
