// FileScatter.h for Win32, whose own scattered read wants whole pages and no cache: small rooms are read together into
// one block and handed out from there, large ones are read into directly.
#include "FileScatter.h"

#include "LastFailure.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace NV {
namespace {

constexpr u32 blockSize = 64U << 10;  // fits any thread's stack, so that nothing is allocated
constexpr u32 worthACall = 32U << 10; // from here on a read of its own costs less than copying

/// Rooms from `first` on that fit into one block, with their bytes together.
std::size_t Gather(const FileRoom* rooms, std::size_t first, std::size_t count, u32& bytes)
{
    bytes = 0;
    std::size_t next = first;
    while (next < count && rooms[next].count < worthACall && rooms[next].count <= blockSize - bytes)
        bytes += rooms[next++].count;
    return next;
}

} // namespace

FileError ReadScattered(HANDLE file, const FileRoom* rooms, std::size_t count, u64& done)
{
    std::array<u8, blockSize> block;
    u64 total = 0;
    for (std::size_t next = 0; next < count;) {
        u32 wanted = 0;
        u32 got = 0;
        const std::size_t first = next;
        next = Gather(rooms, first, count, wanted);
        if (next == first) { // a large one
            wanted = rooms[next].count;
            if (const FileError error = SystemFile::Read(file, rooms[next++].bytes, wanted, got))
                return error;
        } else {
            if (const FileError error = SystemFile::Read(file, block.data(), wanted, got))
                return error;
            u32 at = 0;
            for (std::size_t i = first; i < next && at < got; ++i) {
                const u32 part = std::min(rooms[i].count, got - at);
                std::memcpy(rooms[i].bytes, block.data() + at, part);
                at += part;
            }
        }
        total += got;
        if (got < wanted)
            break; // the end of the file
    }
    done = total;
    return {};
}

} // namespace NV
