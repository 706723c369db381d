// Whether a .nrg image can be handed to libcdio, which trusts what such an image says of itself. Any thread.
#pragma once

#include <string>

namespace NV {

/// The description at the file's end is whole: chunks that lie within it up to the closing one, each made of whole
/// entries, and of no more than a disc's 99 tracks.
bool IsSoundNrg(const std::string& path);

} // namespace NV
