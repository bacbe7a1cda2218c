// A machine and a process whose facts are set.
#pragma once

#include <functional>
#include <map>
#include <string>

#include "os/System.h"

namespace ovs::fakes {

class FakeSystem final : public os::System {
 public:
  std::optional<Text> MessageText(std::uint32_t number) override {
    ++lookUps;
    const auto found = messages.find(number);
    return found == messages.end() ? std::nullopt : std::optional(found->second);
  }
  void DebugOutput(TextView text) noexcept override { debugOutput.emplace_back(text); }
  Text EnvironmentVariable(TextView name) override {
    const auto found = environment.find(name);
    return found == environment.end() ? Text() : found->second;
  }
  Text ProgramDataFolder() override { return EnvironmentVariable(u"ProgramData"); }
  Text ProgramPath() override { return programPath; }
  std::uint32_t ProcessId() override { return processId; }
  Text ComputerName() override { return u"TESTPC"; }
  Text UserName() override { return u"tester"; }
  Text OsVersion() override { return u"Test OS 1.0"; }
  std::vector<Text> LanAddresses() override { return {u"192.0.2.7", u"2001:db8::7"}; }
  std::uint64_t MemoryInUse() override { return 0; }
  void Pause(std::uint32_t milliseconds) override {
    paused += milliseconds;
    if (onPause) onPause();
  }

  std::map<std::uint32_t, Text> messages = {{2, u"File not found.\r\n"}, {5, u"Access denied. "}, {32, u"In use."}};
  std::map<Text, Text, std::less<>> environment;
  Text programPath = u"C:\\App\\OrvantaEventService.exe";
  std::uint32_t processId = 4711;
  std::vector<Text> debugOutput;
  int lookUps = 0;  // how often a text was asked for
  std::uint32_t paused = 0;
  std::function<void()> onPause;
};

}  // namespace ovs::fakes
