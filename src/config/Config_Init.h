// Start-up of the configuration: which files fill the store, and what its "Debug." settings switch on.
#pragma once

#include <memory>

#include "config/Config_Class.h"
#include "platform/App_Env.h"

namespace ovs {

struct ConfigInitOptions {
  bool bNoReleaseSave = false;
  bool bLoadDebugSettings = false;
  bool bSingleFile = false;        // the default configuration file alone
  bool bStartedAsService = false;  // by the service control manager: only then does the store save when it is released
};

// Makes and fills the store; never null. Its default configuration file is the program's, "<program>.cfg" in its folder;
// every ".cfg" file below that folder is loaded. Passwords, "Email.SMTP.Password" and all keys that end in ".Password",
// are then kept encrypted; one that stood there in plain text is saved at once where the store saves when it is released.
// "Env.WANAddress", when set, becomes the environment's. `fileSystem` and `crypt` must outlive the store.
[[nodiscard]] std::unique_ptr<Config_Class> Config_Init(App_FileSystem& fileSystem, App_Env& environment,
                                                        const ckCrypt_Config& crypt, const ConfigInitOptions& options = {});

// Turns the "Debug." settings (docs/settings.md) into the switches of the diagnostics. A setting only ever switches on;
// with `bReset` verbose logging and system output are off and the prefix is the initial one before. `config` may be null.
void LoadDebugSettings(const Config_Class* config, bool bReset);

}  // namespace ovs
