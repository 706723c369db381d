// Where a program is that a person would start by its name. Any thread.
#pragma once

#include <string>

/// The path of the program, looked for in the folders of PATH; empty when there is none. `name` has no ending.
std::string FindProgram(const std::string& name);
