// What the CDDB client needs of CD drives: where the tracks begin. Any thread, one call a drive at a time.
#pragma once

#include <string>
#include <vector>

namespace NV {

/// Where something begins on a disc, as a player shows it: the 2 seconds before the first track count.
struct DiscPosition {
    int minutes = 0, seconds = 0;
    int frames = 0; ///< 75 a second.
};

/// The tracks of the disc in a drive, then the lead-out. A drive is a letter on Windows, with or without a colon, and a
/// device ("/dev/sr0") elsewhere; where the system's library knows them, the name of an image file (.cue, .toc, .nrg)
/// stands for a drive. False, and nothing in `positions`, when there is no disc or no such drive.
bool ReadDiscPositions(const std::string& drive, std::vector<DiscPosition>& positions);

/// The drives of this machine, as they are named to ReadDiscPositions.
std::vector<std::string> DiscDrives();

} // namespace NV
