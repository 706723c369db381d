// The names in a folder, fast enough for folders of many thousand files, and questions about a few of them that do not
// walk the whole path each time. Any thread; one FolderHandle belongs to one thread at a time.
#pragma once

#include "File.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace NV {

/// What separates the parts of a path here.
extern const char pathSeparator;
/// False where the file system takes "a" and "A" for the same name.
extern const bool fileNamesHaveCase;

enum class EntryKind : u8 { file, folder, other };

/// Calls `use` with each name but the dot entries, in no order; it returns false to stop. Links count as what they
/// lead to. False when the folder cannot be listed.
bool ListFolder(const char* path, const std::function<bool(const char* name, EntryKind kind)>& use);

/// The names of all folders in a folder, sorted as bytes. Empty when there are none or it cannot be listed.
std::vector<std::string> SubfoldersOf(const std::string& path);

/// A folder that is asked about several names. Where the system lets a folder be removed all the same, it is kept open.
class FolderHandle {
public:
    FolderHandle() = default;
    explicit FolderHandle(std::string path);
    ~FolderHandle();
    FolderHandle(FolderHandle&& other) noexcept;
    FolderHandle& operator=(FolderHandle&& other) noexcept;

    bool IsOpen() const;
    const std::string& Path() const { return folder; }
    /// There is a file (or folder) of that name.
    bool Has(const char* name) const;
    /// When names were last added or removed; other changes may count too. False when the folder has gone.
    bool Changed(FileMoment& moment) const;
    /// Reads a whole file of at most `most` bytes into `buffer`, which grows as needed and is worth keeping; `bytes` is
    /// the part of it that was filled. `written` is when the file was last written to, as of the begin of reading.
    /// False when there is no such file, it is longer, or cannot be read.
    bool Read(const char* name, std::size_t most, std::vector<char>& buffer, std::string_view& bytes,
              FileMoment* written = nullptr) const;
    /// It has at most a few hundred names.
    bool IsSmall() const;
    /// A few of its names, as they come.
    std::vector<std::string> SomeNames(std::size_t most) const;

private:
    std::string folder;
    i64 handle = -1; // a descriptor where the system has some for folders
};

/// This moment, on the clock that marks the folders.
FileMoment FileClockNow();

} // namespace NV
