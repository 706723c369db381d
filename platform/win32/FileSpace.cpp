// FileSpace.h for Win32, which has no gathered write for files of the cache: small pieces are put together into one
// block, large ones are written as they are.
#include "FileSpace.h"

#include "File.h"

#include <array>
#include <cstring>
#include <limits>

namespace NV {
namespace {

constexpr u32 blockSize = 64U << 10;  // fits any thread's stack, so that nothing is allocated
constexpr u32 worthACall = 32U << 10; // from here on a write of its own costs less than copying

} // namespace

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

bool WriteGathered(HANDLE file, const FilePiece* pieces, std::size_t count)
{
    std::array<u8, blockSize> block;
    u32 filled = 0;
    const auto flush = [&] {
        const u32 bytes = filled;
        filled = 0;
        return bytes == 0 || !SystemFile::Write(file, block.data(), bytes);
    };
    for (std::size_t i = 0; i < count; ++i) {
        const FilePiece& piece = pieces[i];
        const bool large = piece.count >= worthACall;
        if ((large || piece.count > blockSize - filled) && !flush())
            return false;
        if (large) {
            if (SystemFile::Write(file, piece.bytes, piece.count))
                return false;
        } else if (piece.count > 0) {
            std::memcpy(block.data() + filled, piece.bytes, piece.count);
            filled += piece.count;
        }
    }
    return flush();
}

} // namespace NV
