// The environment of the running program: folders, names, version, machine. Asked anew each time; nothing is cached but
// the folder of the program.
#pragma once

#include "base/Text.h"
#include "base/Version.h"
#include "os/System.h"

namespace ovs {

class App_Env {
 public:
  // `system` must outlive this object. A tool may name another application folder than that of its program file.
  explicit App_Env(os::System& system, TextView applicationFolder = {});

  // All folders end in "\".
  [[nodiscard]] const Text& ApplicationFolder() const { return applicationFolder_; }
  // "Orvanta Event Service\" below the machine's folder for program data; "Data\" below the application folder when the
  // system tells of none.
  [[nodiscard]] Text DataFolder() const;
  [[nodiscard]] Text TempFolder() const;

  // The program file's name without its extension.
  [[nodiscard]] Text ProgramName() const;
  [[nodiscard]] Text Title() const { return Text(kTitle); }
  [[nodiscard]] Text Version() const;
  // Title, blank, version: such as "Orvanta Event Service 1.0.0".
  [[nodiscard]] Text AppTitle_VersionForced() const;
  // What stands above what the program shows and reports.
  [[nodiscard]] Text GetAppCaption() const;

  // True when nobody sits in front of the program; nothing then asks a question.
  [[nodiscard]] bool AutomaticMode() const { return automaticMode_; }
  void SetAutomaticMode(bool automatic) { automaticMode_ = automatic; }

  // The address under which the outside world sees the machine, as far as somebody told; else empty.
  [[nodiscard]] const Text& WanAddress() const { return wanAddress_; }
  void SetWanAddress(TextView address) { wanAddress_ = address; }
  // The machine's addresses, joined with ", ".
  [[nodiscard]] Text LanAddress() const;
  [[nodiscard]] Text ComputerName() const { return system_.ComputerName(); }
  // The environment variable of that name, which somebody may have set anew for this process alone; empty when it is not
  // set.
  [[nodiscard]] Text ComputerNameVariable() const { return system_.EnvironmentVariable(u"computername"); }
  [[nodiscard]] Text UserName() const { return system_.UserName(); }
  [[nodiscard]] Text OsVersion() const { return system_.OsVersion(); }
  [[nodiscard]] std::uint32_t ProcessId() const { return system_.ProcessId(); }
  [[nodiscard]] Text ProcessIdText() const;
  // Working set of the process in bytes.
  [[nodiscard]] std::uint64_t MemoryInUse() const { return system_.MemoryInUse(); }

 private:
  os::System& system_;
  Text applicationFolder_;
  Text wanAddress_;
  bool automaticMode_ = false;
};

}  // namespace ovs
