// FileSpace.h over fallocate.
#include "FileSpace.h"

#include "Descriptor.h"

#include <fcntl.h>
#include <limits>

namespace NV {

void ReserveFileSpace(HANDLE file, u64 length)
{
    // Not posix_fallocate: that changes the length, and where the file system has no such operation it writes zeros.
    if (length > 0 && length <= static_cast<u64>(std::numeric_limits<off_t>::max()))
        fallocate(ToDescriptor(file), FALLOC_FL_KEEP_SIZE, 0, static_cast<off_t>(length));
}

} // namespace NV
