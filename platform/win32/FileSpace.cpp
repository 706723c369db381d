// FileSpace.h over the allocation size that Win32 keeps of each file.
#include "FileSpace.h"

#include "File.h"

#include <limits>

namespace NV {

void ReserveFileSpace(HANDLE file, u64 length)
{
    u64 present = 0;
    // A reservation below the length would cut the file.
    if (length > static_cast<u64>(std::numeric_limits<i64>::max()) || SystemFile::Length(file, present) ||
        length <= present)
        return;
    FILE_ALLOCATION_INFO room;
    room.AllocationSize.QuadPart = static_cast<i64>(length);
    SetFileInformationByHandle(file, FileAllocationInfo, &room, sizeof room);
}

} // namespace NV
