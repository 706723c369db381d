// Command lines as Windows programs take them, for a system whose programs take lists of arguments.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace NV {

/// Parts a command line at its blanks. Double quotes hold blanks together; inside them two quotes are one. Backslashes
/// are themselves, but in front of a quote two of them are one and an odd one makes the quote a character.
std::vector<std::string> SplitCommandLine(std::string_view commandLine);

} // namespace NV
