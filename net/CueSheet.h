// Tables of contents from cue sheets, whose image may be raw sectors or a WAV file. Any thread.
#pragma once

#include "CDDrive.h"

#include <string>
#include <vector>

namespace NV {

/// The tracks of a cue sheet and the lead-out. False when the file is not one, when a file that it names is missing or
/// of a kind whose length cannot be told (only raw sectors and WAV files can), or when it holds no track or more
/// than 99.
bool ReadCueSheet(const std::string& path, std::vector<DiscPosition>& positions);

} // namespace NV
