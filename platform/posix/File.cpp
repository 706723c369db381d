// Files over POSIX descriptors; a handle is the descriptor's number. Offsets are 64-bit (see the static_assert).
#include "File.h"

#include "Descriptor.h"
#include "ShareTable.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <limits>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>
#include <utility>

namespace NV::SystemFile {
namespace {

static_assert(sizeof(off_t) == 8);

constexpr u64 longestFile = std::numeric_limits<off_t>::max();

FileError Failure(int systemError)
{
    return {FaultOf(systemError), systemError};
}

/// What a system call that has just failed left in errno.
FileError LastFailure()
{
    return Failure(errno);
}

/// EBADF stands for a closed file and for one opened without the right. The caller's file is open as a rule.
FileError RightsFailure(int descriptor, int systemError)
{
    const bool missingRight = (systemError == EBADF || systemError == EINVAL) && fcntl(descriptor, F_GETFL) >= 0;
    return missingRight ? FileError{FileFault::accessDenied, systemError} : Failure(systemError);
}

FileIdentity IdentityOf(const struct stat& info)
{
    return {info.st_dev, info.st_ino};
}

bool IsReadOnly(mode_t mode)
{
    return (mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0;
}

bool FolderExists(const std::string& folder)
{
    struct stat info;
    return stat(folder.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

/// ENOENT is told apart: the file is missing, or already its folder is.
FileError PathFailure(const char* path, int systemError)
{
    if (systemError != ENOENT)
        return Failure(systemError);
    const std::string folder(path, NamePart(path));
    const bool hasFolder = *path != 0 && (folder.empty() || FolderExists(folder));
    return {hasFolder ? FileFault::notFound : FileFault::badPath, systemError};
}

/// Closes a descriptor that did not become a caller's handle.
class OpenedFile {
public:
    explicit OpenedFile(int opened) : number(opened) {}
    ~OpenedFile()
    {
        if (number >= 0) {
            ShareTable::Instance().Remove(number);
            close(number);
        }
    }
    OpenedFile(const OpenedFile&) = delete;
    OpenedFile& operator=(const OpenedFile&) = delete;
    int Get() const { return number; }
    int Release() { return std::exchange(number, -1); }

private:
    int number;
};

int OpenFlagsOf(const FileOpening& how)
{
    // O_NONBLOCK: opening a pipe must not wait for its other end. O_NOCTTY: nor may a file become our terminal.
    int flags = O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
    flags |= how.write ? (how.read ? O_RDWR : O_WRONLY) : O_RDONLY;
    if (how.create)
        flags |= O_CREAT;
    if (how.writeThrough)
        flags |= O_SYNC;
    return flags;
}

/// Empties a file through a descriptor that may lack the right to write, for which a second one is opened.
FileError EmptyFile(const char* path, const OpenedFile& file, const FileOpening& how, const FileIdentity& identity)
{
    if (how.write)
        return ftruncate(file.Get(), 0) == 0 ? FileError{} : LastFailure();
    const int writable = open(path, O_WRONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
    if (writable < 0)
        return LastFailure();
    struct stat info;
    // Another file may have got the name in between; that one is not ours to empty.
    const bool same = fstat(writable, &info) == 0 && IdentityOf(info) == identity;
    const FileError result = !same ? Failure(EBUSY) : ftruncate(writable, 0) == 0 ? FileError{} : LastFailure();
    close(writable);
    return result;
}

/// The rules for files proper; devices and pipes have neither sharing nor contents to drop.
FileError ClaimRegularFile(const char* path, const OpenedFile& file, const FileOpening& how, const struct stat& info)
{
    if ((how.write || how.empty) && IsReadOnly(info.st_mode))
        return Failure(EACCES);
    const FileIdentity identity = IdentityOf(info);
    if (!ShareTable::Instance().Add(file.Get(), identity, {how.read, how.write}, {how.shareRead, how.shareWrite}))
        return Failure(EBUSY);
    if (how.empty && info.st_size > 0) {
        if (const FileError error = EmptyFile(path, file, how, identity))
            return error;
    }
    if (how.sequential != how.random)
        posix_fadvise(file.Get(), 0, 0, how.sequential ? POSIX_FADV_SEQUENTIAL : POSIX_FADV_RANDOM);
    return {};
}

FileMoment MomentOf(const timespec& time)
{
    return {time.tv_sec, static_cast<u32>(time.tv_nsec)};
}

FileState StateOf(const struct stat& info)
{
    FileState state;
    state.written = MomentOf(info.st_mtim);
    state.read = MomentOf(info.st_atim);
    // The time of birth is not kept everywhere; no file is younger than its last change.
    state.created = std::min(state.written, MomentOf(info.st_ctim));
    state.length = info.st_size > 0 ? static_cast<u64>(info.st_size) : 0;
    state.readOnly = IsReadOnly(info.st_mode);
    state.directory = S_ISDIR(info.st_mode);
    return state;
}

/// Finds the file of a path and refuses one that is open here.
FileError StateOfClosedFile(const char* path, struct stat& info)
{
    if (lstat(path, &info) != 0)
        return PathFailure(path, errno);
    struct stat target;
    if (stat(path, &target) == 0 && ShareTable::Instance().IsOpen(IdentityOf(target)))
        return Failure(EBUSY);
    return {};
}

} // namespace

FileFault FaultOf(i32 systemError)
{
    switch (systemError) {
    case 0:
        return FileFault::none;
    case ENOENT:
        return FileFault::notFound;
    case ENOTDIR:
    case ENAMETOOLONG:
    case ELOOP:
    case ENODEV:
    case ENXIO:
        return FileFault::badPath;
    case EMFILE:
    case ENFILE:
        return FileFault::tooManyOpen;
    case EACCES:
    case EPERM:
    case EROFS:
    case EISDIR:
    case EEXIST:
        return FileFault::accessDenied;
    case EBADF:
        return FileFault::invalidFile;
    case ESPIPE:
    case EOVERFLOW:
        return FileFault::badSeek;
    case EIO:
        return FileFault::hardIO;
    case EBUSY: // also what an opening refused for sharing reports
    case ETXTBSY:
        return FileFault::sharing;
    case EDEADLK:
    case ENOLCK:
        return FileFault::lock;
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
        return FileFault::diskFull;
    default:
        return FileFault::generic;
    }
}

FileError Open(const char* path, const FileOpening& how, HANDLE& file)
{
    OpenedFile opened(open(path, OpenFlagsOf(how), 0666));
    if (opened.Get() < 0)
        return PathFailure(path, errno);
    struct stat info;
    if (fstat(opened.Get(), &info) != 0)
        return LastFailure();
    if (S_ISDIR(info.st_mode))
        return Failure(EISDIR);
    if (S_ISREG(info.st_mode)) {
        if (const FileError error = ClaimRegularFile(path, opened, how, info))
            return error;
    } else {
        const int flags = fcntl(opened.Get(), F_GETFL);
        fcntl(opened.Get(), F_SETFL, flags & ~O_NONBLOCK);
    }
    file = ToHandle(opened.Release());
    return {};
}

FileError Close(HANDLE file)
{
    const int descriptor = ToDescriptor(file);
    ShareTable::Instance().Remove(descriptor);
    // Interrupted or not, the descriptor is gone: a second close could hit another thread's file.
    return close(descriptor) == 0 || errno == EINTR ? FileError{} : LastFailure();
}

FileError Read(HANDLE file, void* buffer, u32 count, u32& done)
{
    u32 total = 0;
    while (total < count) {
        const ssize_t got = read(ToDescriptor(file), static_cast<u8*>(buffer) + total, count - total);
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            return RightsFailure(ToDescriptor(file), errno);
        if (got == 0)
            break;
        total += static_cast<u32>(got);
    }
    done = total;
    return {};
}

FileError Write(HANDLE file, const void* buffer, u32 count)
{
    u32 total = 0;
    while (total < count) {
        const ssize_t put = write(ToDescriptor(file), static_cast<const u8*>(buffer) + total, count - total);
        if (put < 0 && errno == EINTR)
            continue;
        if (put < 0)
            return RightsFailure(ToDescriptor(file), errno);
        if (put == 0)
            return Failure(ENOSPC);
        total += static_cast<u32>(put);
    }
    return {};
}

FileError Seek(HANDLE file, i64 offset, FileOrigin from, u64& position)
{
    static_assert(SEEK_SET == int(FileOrigin::begin) && SEEK_CUR == int(FileOrigin::current) &&
                  SEEK_END == int(FileOrigin::end));
    const off_t reached = lseek(ToDescriptor(file), offset, static_cast<int>(from));
    if (reached < 0)
        return errno == EINVAL ? FileError{FileFault::badSeek, EINVAL} : LastFailure();
    position = static_cast<u64>(reached);
    return {};
}

FileError Length(HANDLE file, u64& length)
{
    struct stat info;
    if (fstat(ToDescriptor(file), &info) != 0)
        return LastFailure();
    if (S_ISREG(info.st_mode)) {
        length = static_cast<u64>(info.st_size);
        return {};
    }
    u64 position = 0; // a drive tells its length by its end only; a pipe has none
    u64 end = 0;
    u64 restored = 0;
    if (const FileError error = Seek(file, 0, FileOrigin::current, position))
        return error;
    if (const FileError error = Seek(file, 0, FileOrigin::end, end))
        return error;
    if (const FileError error = Seek(file, static_cast<i64>(position), FileOrigin::begin, restored))
        return error;
    length = end;
    return {};
}

FileError SetLength(HANDLE file, u64 length)
{
    if (length > longestFile)
        return {FileFault::badSeek, EINVAL};
    const int descriptor = ToDescriptor(file);
    while (ftruncate(descriptor, static_cast<off_t>(length)) != 0) {
        if (errno != EINTR)
            return RightsFailure(descriptor, errno);
    }
    return {};
}

FileError Flush(HANDLE file)
{
    // EINVAL: the file is of a kind that keeps nothing back, such as a pipe.
    return fsync(ToDescriptor(file)) == 0 || errno == EINVAL || errno == EROFS ? FileError{} : LastFailure();
}

FileError State(HANDLE file, FileState& state)
{
    struct stat info;
    if (fstat(ToDescriptor(file), &info) != 0)
        return LastFailure();
    state = StateOf(info);
    return {};
}

FileError State(const char* path, FileState& state)
{
    struct stat info;
    if (stat(path, &info) != 0)
        return PathFailure(path, errno);
    state = StateOf(info);
    return {};
}

FileError Remove(const char* path)
{
    struct stat info;
    if (const FileError error = StateOfClosedFile(path, info))
        return error;
    if (S_ISDIR(info.st_mode))
        return Failure(EISDIR);
    return unlink(path) == 0 ? FileError{} : PathFailure(path, errno);
}

FileError Rename(const char* from, const char* to)
{
    struct stat info;
    if (const FileError error = StateOfClosedFile(from, info))
        return error;
    if (renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0)
        return {};
    if (errno != EINVAL && errno != ENOSYS)
        return PathFailure(to, errno);
    // The file system cannot refuse to replace by itself. Looking first leaves a gap, but only against other programs
    // that make a file of the same name at this moment.
    if (lstat(to, &info) == 0)
        return Failure(EEXIST);
    return rename(from, to) == 0 ? FileError{} : PathFailure(to, errno);
}

std::string FullPath(const char* path)
{
    if (*path == '/')
        return path;
    char folder[_MAX_PATH];
    if (!getcwd(folder, sizeof folder))
        return path;
    std::string full(folder);
    if (full.back() != '/')
        full += '/';
    return full + path;
}

const char* NamePart(const char* path)
{
    const char* const slash = std::strrchr(path, '/');
    return slash ? slash + 1 : path;
}

} // namespace NV::SystemFile
