// Room for long files, beside what the class framework's CFile offers; `file` is its m_hFile. The rules of File.h hold:
// any thread, one handle belonging to one thread at a time.
#pragma once

#include "NVTypes.h"

#include <windows.h>

namespace NV {

/// Asks the system to set room aside for a file of `length` bytes that is about to be written from its start. The
/// file's length does not change, so a file that is left shorter looks so; its SetLength gives back what was not
/// needed. Best effort: where the system cannot, nothing happens, and a full disk shows when the bytes are written.
void ReserveFileSpace(HANDLE file, u64 length);

} // namespace NV
