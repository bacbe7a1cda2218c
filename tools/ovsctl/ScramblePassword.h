// `ovsctl scramble-password`: turns the password of the mail account into the form in which the settings file keeps it.
#pragma once

namespace ovs {

// The stored form goes to stdout, messages to stderr. Exit code: 0 done, 2 no usable password.
int RunScramblePassword();

}  // namespace ovs
