// Faster ways to write long files, beside what the class framework's CFile offers; `file` is its m_hFile. The rules of
// File.h hold: any thread, one handle belonging to one thread at a time.
#pragma once

#include "NVTypes.h"

#include <cstddef>
#include <windows.h>

namespace NV {

/// Bytes somewhere in memory.
struct FilePiece {
    const void* bytes = nullptr;
    u32 count = 0;
};

/// Asks the system to set room aside for a file of `length` bytes that is about to be written from its start. The
/// file's length does not change, so a file that is left shorter looks so; its SetLength gives back what was not
/// needed. Best effort: where the system cannot, nothing happens, and a full disk shows when the bytes are written.
void ReserveFileSpace(HANDLE file, u64 length);

/// Writes the pieces one behind the other at the file's position, in few system calls and, where the system has such an
/// operation, without gathering them in a buffer first. False when not everything could be written; a part may have
/// been.
bool WriteGathered(HANDLE file, const FilePiece* pieces, std::size_t count);

} // namespace NV
