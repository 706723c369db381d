// Command lines of the program that plays a console tool: see fake_tool.cpp.
#pragma once

#include "ConsoleOutputReader.h"

#include <string>
#include <vector>

using Lines = std::vector<std::string>;

inline std::string Quoted(const Lines& arguments)
{
    std::string text;
    for (const std::string& argument : arguments)
        text += (text.empty() ? "" : " ") + CConsoleOutputReader::QuoteArgument(argument);
    return text;
}

/// `script` is the rest of the command line as it is.
inline std::string FakeTool(const std::string& script, const std::string& path = NVLIB_FAKE_TOOL)
{
    return CConsoleOutputReader::QuoteArgument(path, true) + " " + script;
}
