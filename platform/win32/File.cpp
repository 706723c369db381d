// Files over Win32 handles. Share modes, the refusal of folders and of files marked read-only are the system's own.
#include "File.h"

#include "LastFailure.h"
#include "OpenedHandle.h"

#include <algorithm>
#include <limits>

namespace NV::SystemFile {
namespace {

constexpr u64 longestFile = static_cast<u64>(std::numeric_limits<i64>::max());

/// One call moves at most this many bytes: network redirectors have refused more.
constexpr u32 largestTransfer = 16U << 20;

DWORD CreationOf(const FileOpening& how)
{
    if (!how.create)
        return OPEN_EXISTING;
    return how.empty ? CREATE_ALWAYS : OPEN_ALWAYS;
}

DWORD FlagsOf(const FileOpening& how)
{
    DWORD flags = FILE_ATTRIBUTE_NORMAL;
    if (how.writeThrough)
        flags |= FILE_FLAG_WRITE_THROUGH;
    if (how.sequential)
        flags |= FILE_FLAG_SEQUENTIAL_SCAN;
    if (how.random)
        flags |= FILE_FLAG_RANDOM_ACCESS;
    return flags;
}

FileMoment MomentOf(const FILETIME& time)
{
    constexpr i64 ticksPerSecond = 10'000'000;      // of 100 ns each, since 1601
    constexpr i64 secondsTo1970 = 11'644'473'600LL; // from 1601
    const i64 ticks = static_cast<i64>(static_cast<u64>(time.dwHighDateTime) << 32 | time.dwLowDateTime);
    return {ticks / ticksPerSecond - secondsTo1970, static_cast<u32>(ticks % ticksPerSecond) * 100};
}

u64 Joined(DWORD high, DWORD low)
{
    return static_cast<u64>(high) << 32 | low;
}

} // namespace

FileError Open(const char* path, const FileOpening& how, HANDLE& file)
{
    const DWORD access = (how.read ? GENERIC_READ : 0) | (how.write ? GENERIC_WRITE : 0);
    const DWORD share = (how.shareRead ? FILE_SHARE_READ : 0) | (how.shareWrite ? FILE_SHARE_WRITE : 0);
    OpenedHandle opened(CreateFileA(path, access, share, nullptr, CreationOf(how), FlagsOf(how), nullptr));
    if (!opened)
        return LastFailure();
    file = opened.Release();
    return {};
}

FileError Close(HANDLE file)
{
    return CloseHandle(file) ? FileError{} : LastFailure();
}

FileError Read(HANDLE file, void* buffer, u32 count, u32& done)
{
    u32 total = 0;
    while (total < count) {
        DWORD got = 0;
        if (!ReadFile(file, static_cast<u8*>(buffer) + total, std::min(count - total, largestTransfer), &got,
                      nullptr)) {
            const FileError error = LastFailure();
            if (error.system != ERROR_BROKEN_PIPE) // the other end is gone, and everything it wrote was read
                return error;
        }
        if (got == 0)
            break;
        total += got;
    }
    done = total;
    return {};
}

FileError Write(HANDLE file, const void* buffer, u32 count)
{
    u32 total = 0;
    while (total < count) {
        DWORD put = 0;
        const DWORD piece = std::min(count - total, largestTransfer);
        if (!WriteFile(file, static_cast<const u8*>(buffer) + total, piece, &put, nullptr))
            return LastFailure();
        if (put == 0)
            return {FileFault::diskFull, ERROR_DISK_FULL};
        total += put;
    }
    return {};
}

FileError Seek(HANDLE file, i64 offset, FileOrigin from, u64& position)
{
    static_assert(FILE_BEGIN == int(FileOrigin::begin) && FILE_CURRENT == int(FileOrigin::current) &&
                  FILE_END == int(FileOrigin::end));
    LARGE_INTEGER distance, reached;
    distance.QuadPart = offset;
    if (!SetFilePointerEx(file, distance, &reached, static_cast<DWORD>(from))) {
        const FileError error = LastFailure();
        // Which number an impossible target gets depends on the version and on the kind of file.
        return error.system == ERROR_INVALID_PARAMETER ? FileError{FileFault::badSeek, error.system} : error;
    }
    position = static_cast<u64>(reached.QuadPart);
    return {};
}

FileError Length(HANDLE file, u64& length)
{
    LARGE_INTEGER size;
    if (!GetFileSizeEx(file, &size)) {
        const FileError error = LastFailure();
        const bool hasNone = error.system == ERROR_INVALID_FUNCTION || error.system == ERROR_INVALID_PARAMETER;
        return hasNone ? FileError{FileFault::badSeek, error.system} : error; // a pipe or a device
    }
    length = static_cast<u64>(size.QuadPart);
    return {};
}

FileError SetLength(HANDLE file, u64 length)
{
    if (length > longestFile)
        return {FileFault::badSeek, ERROR_INVALID_PARAMETER};
    // Wine does not ask for the right to write here; a write of nothing does, everywhere.
    DWORD put = 0;
    if (!WriteFile(file, &put, 0, &put, nullptr))
        return LastFailure();
    FILE_END_OF_FILE_INFO end;
    end.EndOfFile.QuadPart = static_cast<i64>(length);
    return SetFileInformationByHandle(file, FileEndOfFileInfo, &end, sizeof end) ? FileError{} : LastFailure();
}

FileError Flush(HANDLE file)
{
    if (FlushFileBuffers(file))
        return {};
    const FileError error = LastFailure();
    // Without the right to write there is nothing to flush; nor do devices keep anything back.
    const bool nothingKept = error.system == ERROR_ACCESS_DENIED || error.system == ERROR_INVALID_FUNCTION;
    return nothingKept ? FileError{} : error;
}

FileError State(HANDLE file, FileState& state)
{
    BY_HANDLE_FILE_INFORMATION info;
    if (!GetFileInformationByHandle(file, &info))
        return LastFailure();
    state.created = MomentOf(info.ftCreationTime);
    state.written = MomentOf(info.ftLastWriteTime);
    state.read = MomentOf(info.ftLastAccessTime);
    state.length = Joined(info.nFileSizeHigh, info.nFileSizeLow);
    state.readOnly = (info.dwFileAttributes & FILE_ATTRIBUTE_READONLY) != 0;
    state.directory = (info.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    return {};
}

FileError State(const char* path, FileState& state)
{
    const OpenedHandle opened = OpenToAsk(path);
    return opened ? State(opened.Get(), state) : LastFailure();
}

FileError Remove(const char* path)
{
    return DeleteFileA(path) ? FileError{} : LastFailure();
}

FileError Rename(const char* from, const char* to)
{
    return MoveFileA(from, to) ? FileError{} : LastFailure();
}

std::string FullPath(const char* path)
{
    std::string full(_MAX_PATH, '\0');
    for (;;) {
        const DWORD room = static_cast<DWORD>(full.size());
        const DWORD length = GetFullPathNameA(path, room, full.data(), nullptr);
        if (length == 0)
            return path;
        full.resize(length); // the length, or what is needed for it with its closing zero
        if (length < room)
            return full;
    }
}

const char* NamePart(const char* path)
{
    const char* name = path;
    for (const char* at = path; *at; ++at) {
        if (*at == '\\' || *at == '/' || *at == ':')
            name = at + 1;
    }
    return name;
}

} // namespace NV::SystemFile
