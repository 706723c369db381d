// See ArchiveReader.h.
#include "ArchiveReader.h"

#include "NVTypes.h"
#include "audio/FileCalls.h"

#include <algorithm>

namespace NV {

ArchiveReader::ArchiveReader() : reader(archive_read_new(), &archive_read_free)
{
    if (!reader)
        return;
    archive_read_support_filter_all(reader.get());
    archive_read_support_format_7zip(reader.get());
    archive_read_support_format_zip(reader.get());
    archive_read_support_format_tar(reader.get());
}

la_ssize_t ArchiveReader::ReadCallback(archive*, void* self, const void** bytes)
{
    ArchiveReader& own = *static_cast<ArchiveReader*>(self);
    UINT got = 0;
    if (!Succeeds([&] { got = own.file.Read(own.buffer.data(), static_cast<UINT>(own.buffer.size())); }))
        return -1;
    own.consumed += got;
    *bytes = own.buffer.data();
    return static_cast<la_ssize_t>(got);
}

la_int64_t ArchiveReader::SeekCallback(archive*, void* self, la_int64_t offset, int whence)
{
    static_assert(SEEK_SET == int(CFile::begin) && SEEK_CUR == int(CFile::current) && SEEK_END == int(CFile::end));
    ArchiveReader& own = *static_cast<ArchiveReader*>(self);
    la_int64_t reached = -1;
    Succeeds([&] { reached = static_cast<la_int64_t>(own.file.Seek(offset, static_cast<UINT>(whence))); });
    return reached;
}

la_int64_t ArchiveReader::SkipCallback(archive*, void* self, la_int64_t count)
{
    ArchiveReader& own = *static_cast<ArchiveReader*>(self);
    la_int64_t skipped = 0;
    Succeeds([&] {
        const ULONGLONG from = own.file.GetPosition();
        const ULONGLONG to = std::min(from + static_cast<ULONGLONG>(std::max<la_int64_t>(count, 0)), own.length);
        skipped = static_cast<la_int64_t>(own.file.Seek(static_cast<LONGLONG>(to), CFile::begin) - from);
    });
    own.consumed += static_cast<ULONGLONG>(skipped);
    return skipped;
}

bool ArchiveReader::Open(const char* path)
{
    if (!reader || !file.Open(path, CFile::modeRead | CFile::shareDenyWrite))
        return false;
    if (!Succeeds([&] { length = file.GetLength(); }))
        return false;
    archive* const opened = reader.get();
    archive_read_set_callback_data(opened, this);
    archive_read_set_read_callback(opened, &ReadCallback);
    archive_read_set_seek_callback(opened, &SeekCallback);
    archive_read_set_skip_callback(opened, &SkipCallback);
    return archive_read_open1(opened) == ARCHIVE_OK;
}

archive_entry* ArchiveReader::Next()
{
    archive_entry* entry = nullptr;
    const int result = archive_read_next_header(reader.get(), &entry);
    if (result == ARCHIVE_OK || result == ARCHIVE_WARN)
        return entry;
    damaged = result != ARCHIVE_EOF;
    return nullptr;
}

std::size_t ArchiveReader::Read(void* bytes, std::size_t count)
{
    const la_ssize_t got = archive_read_data(reader.get(), bytes, count);
    damaged = damaged || got < 0;
    return got > 0 ? static_cast<std::size_t>(got) : 0;
}

double ArchiveReader::Progress() const
{
    return length > 0 ? std::min(1.0, static_cast<double>(consumed) / static_cast<double>(length)) : 1.0;
}

} // namespace NV
