// Reading one run of a file into many places at once; `file` is CFile's m_hFile. The rules of File.h hold: any thread,
// one handle belonging to one thread at a time.
#pragma once

#include "File.h"

#include <cstddef>

namespace NV {

/// Memory to be filled.
struct FileRoom {
    void* bytes = nullptr;
    u32 count = 0;
};

/// Fills the rooms one after the other from the file's position on, in few system calls and, where the system has such
/// an operation, without a buffer in between. `done` is the bytes read, below what the rooms hold at the end of the
/// file only.
FileError ReadScattered(HANDLE file, const FileRoom* rooms, std::size_t count, u64& done);

} // namespace NV
