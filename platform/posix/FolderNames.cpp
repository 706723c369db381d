// FolderNames.h for POSIX.
#include "FolderNames.h"

#include "OwnedDescriptor.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstddef>
#include <cstring>
#include <ctime>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <utility>

namespace NV {
namespace {

/// What the system call below fills; the library's own reading takes 32 KiB at least, which is a lot for a few names.
struct KernelEntry {
    u64 inode;
    i64 offset;
    unsigned short size;
    unsigned char type;
    char name[1];
};

bool IsDots(const char* name)
{
    return std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0;
}

EntryKind KindOf(int folder, const dirent& entry)
{
    if (entry.d_type == DT_REG)
        return EntryKind::file;
    if (entry.d_type == DT_DIR)
        return EntryKind::folder;
    struct stat info;
    if ((entry.d_type != DT_LNK && entry.d_type != DT_UNKNOWN) || fstatat(folder, entry.d_name, &info, 0) != 0)
        return EntryKind::other;
    return S_ISREG(info.st_mode) ? EntryKind::file : S_ISDIR(info.st_mode) ? EntryKind::folder : EntryKind::other;
}

/// Of times the one that nobody can set back, not even who copies a whole tree with its times.
FileMoment ChangeOf(const struct stat& info)
{
    return {info.st_ctim.tv_sec, static_cast<u32>(info.st_ctim.tv_nsec)};
}

} // namespace

const char pathSeparator = '/';
const bool fileNamesHaveCase = true;

bool ListFolder(const char* path, const std::function<bool(const char* name, EntryKind kind)>& use)
{
    const auto closeFolder = [](DIR* opened) { closedir(opened); };
    const std::unique_ptr<DIR, decltype(closeFolder)> folder(opendir(path), closeFolder);
    if (!folder)
        return false;
    for (;;) {
        errno = 0;
        const dirent* const entry = readdir(folder.get());
        if (!entry)
            return errno == 0;
        if (!IsDots(entry->d_name) && !use(entry->d_name, KindOf(dirfd(folder.get()), *entry)))
            return true;
    }
}

std::vector<std::string> SubfoldersOf(const std::string& path)
{
    std::vector<std::string> names;
    ListFolder(path.c_str(), [&](const char* name, EntryKind kind) {
        if (kind == EntryKind::folder)
            names.emplace_back(name);
        return true;
    });
    std::sort(names.begin(), names.end());
    return names;
}

// O_PATH: most folders are only asked for names, and opening them for listing costs more than some questions.
FolderHandle::FolderHandle(std::string path)
    : folder(std::move(path)), handle(open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC))
{
}

FolderHandle::~FolderHandle()
{
    if (handle >= 0)
        close(static_cast<int>(handle));
}

FolderHandle::FolderHandle(FolderHandle&& other) noexcept
    : folder(std::move(other.folder)), handle(std::exchange(other.handle, -1))
{
}

FolderHandle& FolderHandle::operator=(FolderHandle&& other) noexcept
{
    std::swap(folder, other.folder);
    std::swap(handle, other.handle);
    return *this;
}

bool FolderHandle::IsOpen() const
{
    return handle >= 0;
}

bool FolderHandle::Has(const char* name) const
{
    struct stat info; // asking for rights would cost a little more
    return fstatat(static_cast<int>(handle), name, &info, 0) == 0;
}

bool FolderHandle::Changed(FileMoment& moment) const
{
    struct stat info;
    if (fstat(static_cast<int>(handle), &info) != 0 || info.st_nlink == 0)
        return false;
    moment = ChangeOf(info);
    return true;
}

bool FolderHandle::Read(const char* name, std::size_t most, std::vector<char>& buffer, std::string_view& bytes,
                        FileMoment* written) const
{
    // O_NONBLOCK: what has such a name may be a pipe.
    const int file = openat(static_cast<int>(handle), name, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (file < 0)
        return false;
    struct stat info;
    if (written && fstat(file, &info) == 0)
        *written = ChangeOf(info);
    constexpr std::size_t step = 16 << 10; // nearly every record comes with the first read
    std::size_t filled = 0;
    bool whole = false;
    while (!whole && filled <= most) {
        if (buffer.size() < filled + step)
            buffer.resize(filled + step);
        const ssize_t got = read(file, buffer.data() + filled, buffer.size() - filled);
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            break;
        whole = static_cast<std::size_t>(got) < buffer.size() - filled; // as files end
        filled += static_cast<std::size_t>(got);
    }
    close(file);
    bytes = std::string_view(buffer.data(), filled);
    return whole && filled <= most;
}

bool FolderHandle::IsSmall() const
{
    constexpr off_t small = 16 << 10; // what a few hundred names take, in whichever way a file system counts
    struct stat info;
    return fstat(static_cast<int>(handle), &info) == 0 && info.st_size <= small;
}

std::vector<std::string> FolderHandle::SomeNames(std::size_t most) const
{
    std::vector<std::string> names;
    alignas(KernelEntry) char buffer[1024];
    const OwnedDescriptor listed(openat(static_cast<int>(handle), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    while (names.size() < most) {
        const long got = syscall(SYS_getdents64, listed.Get(), buffer, sizeof buffer);
        if (got <= 0)
            break;
        for (long at = 0; at < got && names.size() < most;) {
            unsigned short size = 0;
            std::memcpy(&size, buffer + at + offsetof(KernelEntry, size), sizeof size);
            const char* const name = buffer + at + offsetof(KernelEntry, name);
            if (!IsDots(name))
                names.emplace_back(name);
            at += size;
        }
    }
    return names;
}

FileMoment FileClockNow()
{
    // The coarse clock is the one that file systems stamp with.
    timespec now{};
    clock_gettime(CLOCK_REALTIME_COARSE, &now);
    return {now.tv_sec, static_cast<u32>(now.tv_nsec)};
}

} // namespace NV
