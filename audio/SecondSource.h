// Another object on the file of a sound file, so that another thread can read it.
#pragma once

#include "SoundFile.h"

#include <memory>

namespace NV {

/// An object of the same class, opened by the same name for reading and sharing everything. Null when that cannot be
/// had, or does not give the same format and length: the class cannot be made by name, the file is not shared, is no
/// file at all, or its header is behind what was written to it.
std::unique_ptr<CSoundFile> OpenSecondSource(const CSoundFile& sound);

} // namespace NV
