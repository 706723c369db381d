// Files of the operating system, as the class framework needs them: opened with rights and sharing, read and written
// at a position of their own, in bytes. Every function may be called from any thread; one handle belongs to one thread
// at a time.
#pragma once

#include "NVTypes.h"

#include <compare>
#include <string>
#include <windows.h>

namespace NV {

/// What went wrong, independent of the system. The values are those of CFileException's causes.
enum class FileFault : u8 {
    none = 0,
    generic = 1,
    notFound = 2,
    badPath = 3,
    tooManyOpen = 4,
    accessDenied = 5,
    invalidFile = 6,
    currentDirectory = 7,
    directoryFull = 8,
    badSeek = 9,
    hardIO = 10,
    sharing = 11,
    lock = 12,
    diskFull = 13,
    endOfFile = 14
};

/// A failure and the system's own number for it. True in a condition when there was one:
///     if (const FileError error = SystemFile::Flush(file)) …
struct FileError {
    FileFault fault = FileFault::none;
    i32 system = -1; // errno or GetLastError; -1 when no system call failed
    explicit operator bool() const { return fault != FileFault::none; }
};

/// How a file is opened. Creating without emptying keeps what is there.
struct FileOpening {
    bool read = true, write = false;            // what this opening may do
    bool shareRead = false, shareWrite = false; // what other openings may do meanwhile
    bool create = false;                        // make the file when there is none
    bool empty = false;                         // drop what is in it, with `create` only; needs no write right
    bool writeThrough = false;                  // a write returns when the medium has the bytes
    bool sequential = false, random = false;    // hints for the system's read-ahead
};

/// A moment since 1970-01-01 00:00 UTC, as fine as the file system keeps it.
struct FileMoment {
    i64 seconds = 0;
    u32 nanoseconds = 0;
    auto operator<=>(const FileMoment&) const = default;
};

struct FileState {
    FileMoment created, written, read;
    u64 length = 0;
    bool readOnly = false; // the attribute; where there is none, nobody's permission to write
    bool directory = false;
};

enum class FileOrigin : u8 { begin = 0, current = 1, end = 2 };

/// Every function that returns a FileError leaves its results untouched on a failure.
namespace SystemFile {

/// What stands for an error number of the system.
FileFault FaultOf(i32 systemError);

/// Opens `path`, absolute or relative to the working folder. Folders are refused, as are files marked read-only when
/// `write` is asked for, and openings that this program's other openings of the same file exclude (EBUSY; on systems
/// that keep share modes themselves it is any program's, with the system's number). An existing file is emptied only
/// after all of these checks. Child processes do not inherit the handle.
FileError Open(const char* path, const FileOpening& how, HANDLE& file);
/// The handle is gone afterwards, whatever is returned.
FileError Close(HANDLE file);

/// `done` is below `count` at the end of the file only.
FileError Read(HANDLE file, void* buffer, u32 count, u32& done);
/// All bytes, or a failure after some of them.
FileError Write(HANDLE file, const void* buffer, u32 count);
/// A target before the first byte is a badSeek, and the position stays.
FileError Seek(HANDLE file, i64 offset, FileOrigin from, u64& position);
FileError Length(HANDLE file, u64& length);
/// The position is not moved.
FileError SetLength(HANDLE file, u64 length);
/// Returns when the medium has everything.
FileError Flush(HANDLE file);

FileError State(HANDLE file, FileState& state);
/// Follows links; folders have a state too.
FileError State(const char* path, FileState& state);

/// Refuses folders and files that this program has open.
FileError Remove(const char* path);
/// Within one file system; refuses files that this program has open, and new names that exist.
FileError Rename(const char* from, const char* to);

/// The path made absolute, links left as they are; as it is when there is no working folder.
std::string FullPath(const char* path);
/// Where the last part of a path begins.
const char* NamePart(const char* path);

} // namespace SystemFile
} // namespace NV
