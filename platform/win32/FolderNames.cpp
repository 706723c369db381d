// FolderNames.h for Win32. There is no cheaper way to a file than its path, so a handle is the path.
#include "FolderNames.h"

#include "OpenedHandle.h"

#include <algorithm>
#include <cstring>
#include <utility>
#include <windows.h>

namespace NV {
namespace {

/// Ends a search.
class Search {
public:
    explicit Search(const std::string& pattern) : handle(FindFirstFileA(pattern.c_str(), &found)) {}
    ~Search()
    {
        if (IsOpen())
            FindClose(handle);
    }
    Search(const Search&) = delete;
    Search& operator=(const Search&) = delete;
    bool IsOpen() const { return handle != INVALID_HANDLE_VALUE; }
    bool Next() { return FindNextFileA(handle, &found) != FALSE; }
    WIN32_FIND_DATAA found;

private:
    HANDLE handle;
};

bool IsDots(const char* name)
{
    return std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0;
}

FileMoment MomentOf(const FILETIME& time)
{
    constexpr i64 ticksPerSecond = 10'000'000;      // of 100 ns each, since 1601
    constexpr i64 secondsTo1970 = 11'644'473'600LL; // from 1601
    const i64 ticks = static_cast<i64>(static_cast<u64>(time.dwHighDateTime) << 32 | time.dwLowDateTime);
    return {ticks / ticksPerSecond - secondsTo1970, static_cast<u32>(ticks % ticksPerSecond) * 100};
}

} // namespace

const char pathSeparator = '\\';
const bool fileNamesHaveCase = false;

bool ListFolder(const char* path, const std::function<bool(const char* name, EntryKind kind)>& use)
{
    Search search(path + std::string("\\*"));
    if (!search.IsOpen())
        return false;
    do {
        const bool isFolder = (search.found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
        if (!IsDots(search.found.cFileName) &&
            !use(search.found.cFileName, isFolder ? EntryKind::folder : EntryKind::file))
            return true;
    } while (search.Next());
    return GetLastError() == ERROR_NO_MORE_FILES;
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

FolderHandle::FolderHandle(std::string path) : folder(std::move(path))
{
    const DWORD attributes = GetFileAttributesA(folder.c_str());
    handle = attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) ? 0 : -1;
    folder += '\\';
}

FolderHandle::~FolderHandle() = default;

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
    return GetFileAttributesA((folder + name).c_str()) != INVALID_FILE_ATTRIBUTES;
}

bool FolderHandle::Changed(FileMoment& moment) const
{
    WIN32_FILE_ATTRIBUTE_DATA data;
    if (!GetFileAttributesExA(folder.c_str(), GetFileExInfoStandard, &data) ||
        !(data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY))
        return false;
    moment = MomentOf(data.ftLastWriteTime);
    return true;
}

bool FolderHandle::Read(const char* name, std::size_t most, std::vector<char>& buffer, std::string_view& bytes,
                        FileMoment* written) const
{
    const OpenedHandle file(CreateFileA((folder + name).c_str(), GENERIC_READ,
                                        FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                                        FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file)
        return false;
    FILETIME time;
    if (written && GetFileTime(file.Get(), nullptr, nullptr, &time))
        *written = MomentOf(time);
    constexpr std::size_t step = 16 << 10; // nearly every record comes with the first read
    std::size_t filled = 0;
    bool whole = false;
    while (!whole && filled <= most) {
        if (buffer.size() < filled + step)
            buffer.resize(filled + step);
        DWORD got = 0;
        if (!ReadFile(file.Get(), buffer.data() + filled, static_cast<DWORD>(buffer.size() - filled), &got, nullptr))
            break;
        whole = got < buffer.size() - filled; // as files end
        filled += got;
    }
    bytes = std::string_view(buffer.data(), filled);
    return whole && filled <= most;
}

bool FolderHandle::IsSmall() const
{
    return false; // nobody asks where names have no case
}

std::vector<std::string> FolderHandle::SomeNames(std::size_t most) const
{
    std::vector<std::string> names;
    Search search(folder + "*");
    if (!search.IsOpen())
        return names;
    do {
        if (!IsDots(search.found.cFileName))
            names.emplace_back(search.found.cFileName);
    } while (names.size() < most && search.Next());
    return names;
}

FileMoment FileClockNow()
{
    FILETIME now;
    GetSystemTimeAsFileTime(&now);
    return MomentOf(now);
}

} // namespace NV
