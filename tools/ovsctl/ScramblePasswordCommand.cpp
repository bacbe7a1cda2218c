#include <CLI/CLI.hpp>

#include "Commands.h"
#include "ScramblePassword.h"

namespace ovs {

void AddScramblePasswordCommand(Program& program) {
  AddCommand(
      program,
      {.name = "scramble-password",
       .purpose =
           "Read the password of the mail account (typed unseen, or one line of standard input) and print the form in "
           "which it is kept in Config\\Orvanta.ini.",
       .examples = "ovsctl scramble-password"},
      [] { return RunScramblePassword(); });
}

}  // namespace ovs
