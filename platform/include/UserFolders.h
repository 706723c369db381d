// Where programs keep what belongs to the user and not to a document. Any thread.
#pragma once

#include <string>

/// The folder for what can be made anew at any time; each program has a folder of its own in it. It need not exist yet.
/// Empty when the user has none.
std::string UserCacheFolder();
