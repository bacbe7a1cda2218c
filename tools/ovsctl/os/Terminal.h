// Port: the command line and the terminal.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace ovs::os {

enum class Stream { Output, Messages };

// The arguments behind the program's name, in UTF-8.
[[nodiscard]] std::vector<std::string> ArgumentsOf(int argc, char** argv);

// Makes ready what is printed in UTF-8 and with colours; the result tells RestoreTerminal how it was before.
[[nodiscard]] unsigned PrepareTerminal();
void RestoreTerminal(unsigned before);

// The characters to print so that CR LF arrives.
[[nodiscard]] std::string_view PrintedCrLf();

[[nodiscard]] bool IsTerminal(Stream stream);
// True when the terminal understands escape sequences. False for what is no terminal.
[[nodiscard]] bool UnderstandsEscapes(Stream stream);
// Columns; 80 when the terminal does not tell.
[[nodiscard]] int Columns(Stream stream);

}  // namespace ovs::os
