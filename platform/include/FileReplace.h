// What it takes to let a new file appear under its name at once, in place of another one or of none. Any thread.
#pragma once

#include "File.h"

#include <string>

namespace NV {

/// The absolute path of an existing file with all links followed; empty when there is no such file.
std::string FinalPath(const char* path);

/// False for devices, pipes and whatever else has bytes but no place in a folder of its own; also when it cannot be
/// told.
bool IsPlainFile(const char* path);

/// Makes an empty file in the folder of `path`, under a name made from it that was not in use, and tells that name.
/// Names that nobody has written to for a day are taken over: the program that made them was ended before it could
/// remove them.
FileError MakeTemporaryBeside(const char* path, std::string& temporary);

/// Removes a temporary file that is a day old. True when it is gone.
bool RemoveLeftover(const std::string& temporary);

/// Renames `from` to the existing file `to`, which it replaces in one step; it takes over the permissions of `to`.
/// Neither may be open.
FileError PutInPlace(const char* from, const char* to);

} // namespace NV
