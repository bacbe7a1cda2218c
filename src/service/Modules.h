// The modules that the service is made of, over one machine: what the service, ovsctl and the tests compose alike.
#pragma once

#include "config/App_Common.h"
#include "config/ckCrypt_Config.h"
#include "diag/App_Debug.h"
#include "os/Machine.h"
#include "platform/App_Env.h"
#include "platform/App_FileSystem.h"
#include "platform/App_Registry.h"
#include "platform/App_Time.h"

namespace ovs {

// The ports must outlive it.
struct Modules {
  explicit Modules(const os::Machine& ports)
      : machine(ports),
        environment(ports.system),
        fileSystem(ports.files, ports.system),
        registry(ports.registry),
        ini(ports.files),
        time(ports.clock, ports.timeZone, ports.files),
        crypt(ports.crypto) {}
  Modules(const Modules&) = delete;
  Modules& operator=(const Modules&) = delete;

  os::Machine machine;
  App_Env environment;
  App_FileSystem fileSystem;
  App_Registry registry;
  App_Common ini;
  App_Time time;
  ckCrypt_Config crypt;
};

}  // namespace ovs
