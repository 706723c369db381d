// Archives of any kind that libarchive knows, read from a file. One thread at a time.
#pragma once

#include <afx.h>

#include <archive.h>
#include <archive_entry.h>
#include <array>
#include <cstddef>
#include <memory>
#include <string>

namespace NV {

class ArchiveReader {
public:
    ArchiveReader();
    /// False when the file cannot be opened or does not begin like an archive.
    bool Open(const char* path);
    /// The next entry; null at the end, and when the archive is damaged (see `Damaged`).
    archive_entry* Next();
    /// The next bytes of the entry's contents; 0 at its end, and when the archive is damaged.
    std::size_t Read(void* bytes, std::size_t count);
    bool Damaged() const { return damaged; }
    /// How much of the file has been read, from 0 to 1.
    double Progress() const;

private:
    static la_ssize_t ReadCallback(archive*, void* reader, const void** bytes);
    static la_int64_t SeekCallback(archive*, void* reader, la_int64_t offset, int whence);
    static la_int64_t SkipCallback(archive*, void* reader, la_int64_t count);

    std::unique_ptr<archive, decltype(&archive_read_free)> reader;
    CFile file;
    std::array<char, 128 << 10> buffer{};
    ULONGLONG length = 0, consumed = 0;
    bool damaged = false;
};

} // namespace NV
