// FileScatter.h over readv.
#include "FileScatter.h"

#include "Descriptor.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <sys/uio.h>

namespace NV {

FileError ReadScattered(HANDLE file, const FileRoom* rooms, std::size_t count, u64& done)
{
    std::array<iovec, 512> batch;
    std::size_t next = 0;   // first room that is not full
    std::size_t filled = 0; // bytes of that room
    u64 total = 0;
    while (next < count) {
        const std::size_t batched = std::min(count - next, batch.size());
        for (std::size_t i = 0; i < batched; ++i)
            batch[i] = {rooms[next + i].bytes, rooms[next + i].count};
        batch[0] = {static_cast<u8*>(batch[0].iov_base) + filled, batch[0].iov_len - filled};

        const ssize_t got = readv(ToDescriptor(file), batch.data(), static_cast<int>(batched));
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            return {SystemFile::FaultOf(errno), errno};
        total += static_cast<u64>(got);
        filled += static_cast<std::size_t>(got);
        const std::size_t before = next;
        while (next < count && filled >= rooms[next].count)
            filled -= rooms[next++].count;
        if (got == 0 && next == before)
            break; // the end of the file
    }
    done = total;
    return {};
}

} // namespace NV
