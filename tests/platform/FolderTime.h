// The time of a folder's last change, as a test wants it: std::filesystem cannot set it on every system.
#pragma once

/// Sets it to `seconds` before now. False when that is not possible.
bool SetFolderTimeBack(const char* path, int seconds);
