// FileSpace.h over fallocate and writev.
#include "FileSpace.h"

#include "Descriptor.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <limits>
#include <sys/uio.h>

namespace NV {

void ReserveFileSpace(HANDLE file, u64 length)
{
    // Not posix_fallocate: that changes the length, and where the file system has no such operation it writes zeros.
    if (length > 0 && length <= static_cast<u64>(std::numeric_limits<off_t>::max()))
        fallocate(ToDescriptor(file), FALLOC_FL_KEEP_SIZE, 0, static_cast<off_t>(length));
}

bool WriteGathered(HANDLE file, const FilePiece* pieces, std::size_t count)
{
    std::array<iovec, 256> batch; // the system takes up to 1024 at a time; this many pay for the call already
    std::size_t next = 0;         // first piece that is not written whole
    std::size_t written = 0;      // bytes of that piece
    while (next < count) {
        const std::size_t batched = std::min(count - next, batch.size());
        for (std::size_t i = 0; i < batched; ++i)
            batch[i] = {const_cast<void*>(pieces[next + i].bytes), pieces[next + i].count};
        batch[0] = {static_cast<u8*>(batch[0].iov_base) + written, batch[0].iov_len - written};

        const ssize_t put = writev(ToDescriptor(file), batch.data(), static_cast<int>(batched));
        if (put < 0 && errno == EINTR)
            continue;
        if (put < 0)
            return false;
        written += static_cast<std::size_t>(put);
        const std::size_t before = next;
        while (next < count && written >= pieces[next].count)
            written -= pieces[next++].count;
        if (put == 0 && next == before)
            return false; // nothing went out, so nothing more will
    }
    return true;
}

} // namespace NV
