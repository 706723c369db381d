// Taking command lines apart: see CommandLine.h.
#include "CommandLine.h"

namespace NV {

namespace {

constexpr std::string_view kBlanks = " \t\r\n";

// Takes one argument from the front of the text, which does not begin with a blank.
std::string TakeArgument(std::string_view& text)
{
    std::string argument;
    bool quoted = false;
    std::size_t at = 0;
    while (at < text.size() && (quoted || kBlanks.find(text[at]) == std::string_view::npos)) {
        std::size_t backslashes = 0;
        while (at < text.size() && text[at] == '\\') {
            ++backslashes;
            ++at;
        }
        const bool quote = at < text.size() && text[at] == '"';
        argument.append(quote ? backslashes / 2 : backslashes, '\\');
        if (!quote) {
            if (backslashes == 0)
                argument += text[at++];
        } else if (backslashes % 2 != 0) {
            argument += text[at++];
        } else if (quoted && at + 1 < text.size() && text[at + 1] == '"') {
            argument += '"';
            at += 2;
        } else {
            quoted = !quoted;
            ++at;
        }
    }
    text.remove_prefix(at);
    return argument;
}

} // namespace

std::vector<std::string> SplitCommandLine(std::string_view commandLine)
{
    std::vector<std::string> arguments;
    for (;;) {
        const std::size_t start = commandLine.find_first_not_of(kBlanks);
        if (start == std::string_view::npos)
            return arguments;
        commandLine.remove_prefix(start);
        arguments.push_back(TakeArgument(commandLine));
    }
}

} // namespace NV
