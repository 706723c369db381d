// The cache of thumbprints: see PrintCache.h.
#include "PrintCache.h"

#include "Commands.h"
#include "UserFolders.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <fstream>

namespace nvtool {
namespace fs = std::filesystem;

namespace {

// magic, checksum of all that follows, size and time of the stream, length of its path; then the path and the
// thumbprint, which takes the rest.
constexpr std::array<u8, 8> kMagic{'N', 'V', 'P', 'R', 'I', 'N', 'T', '1'};
constexpr size_t kChecksumAt = 8, kCheckedFrom = 16, kHeaderSize = 36;
constexpr std::uintmax_t kLargestEntry = 80 << 20;

u64 Fnv(const u8* bytes, size_t size)
{
    u64 hash = 14695981039346656037u;
    for (size_t i = 0; i < size; ++i)
        hash = (hash ^ bytes[i]) * 1099511628211u;
    return hash;
}

void AppendLE(std::vector<u8>& to, u64 value, int bytes)
{
    for (int i = 0; i < bytes; ++i)
        to.push_back(static_cast<u8>(value >> 8 * i));
}

// All that an entry begins with but for the checksum, which is 0 here.
std::vector<u8> Header(const std::string& path, u64 size, i64 time)
{
    std::vector<u8> header(kMagic.begin(), kMagic.end());
    AppendLE(header, 0, 8);
    AppendLE(header, size, 8);
    AppendLE(header, static_cast<u64>(time), 8);
    AppendLE(header, path.size(), 4);
    header.insert(header.end(), path.begin(), path.end());
    return header;
}

void PutChecksum(std::vector<u8>& entry)
{
    u64 sum = Fnv(entry.data() + kCheckedFrom, entry.size() - kCheckedFrom);
    for (size_t i = 0; i < 8; ++i, sum >>= 8)
        entry[kChecksumAt + i] = static_cast<u8>(sum);
}

std::vector<u8> ReadEntry(const fs::path& path)
{
    std::error_code failure;
    const auto size = fs::file_size(path, failure);
    if (failure || size < kHeaderSize || size > kLargestEntry)
        return {};
    std::vector<u8> entry(static_cast<size_t>(size));
    std::ifstream file(path, std::ios::binary);
    file.read(reinterpret_cast<char*>(entry.data()), static_cast<std::streamsize>(entry.size()));
    return file ? entry : std::vector<u8>();
}

// The thumbprint of an entry that is whole and begins with `header`.
std::optional<Print> Unpack(const std::vector<u8>& entry, const std::vector<u8>& header)
{
    if (entry.size() < header.size())
        return {};
    std::vector<u8> wanted = header;
    wanted.insert(wanted.end(), entry.begin() + std::ptrdiff_t(header.size()), entry.end());
    PutChecksum(wanted);
    if (wanted != entry)
        return {};
    return Print::FromBytes({entry.begin() + std::ptrdiff_t(header.size()), entry.end()});
}

// A cache that takes no entry is slow, not wrong.
void TryToKeep(const fs::path& path, std::vector<u8> entry, const Print& print)
{
    entry.insert(entry.end(), print.Bytes().begin(), print.Bytes().end());
    PutChecksum(entry);
    try {
        OutputFile file(path);
        file.Write(entry.data(), entry.size());
        file.Commit();
    } catch (const Error&) {
    }
}

} // namespace

PrintCache::PrintCache(const fs::path& where) : folder(where)
{
    if (folder.empty())
        return;
    std::error_code failure;
    fs::create_directories(folder, failure);
    if (!failure)
        return;
    Warn(PathText(folder), "cannot be made, so thumbprints are not kept: " + failure.message());
    folder.clear();
}

fs::path PrintCache::DefaultFolder()
{
    const std::string cache = UserCacheFolder();
    return cache.empty() ? fs::path() : fs::path(cache) / "nvtool" / "thumbprints";
}

Print PrintCache::OfStream(const fs::path& file, bool& cached) const
{
    cached = false;
    std::error_code noPath, noSize, noTime;
    const fs::path whole = fs::canonical(file, noPath);
    const u64 size = fs::file_size(file, noSize);
    const auto time = fs::last_write_time(file, noTime);
    if (folder.empty() || noPath || noSize || noTime)
        return Print::OfStream(file);

    const std::string path = PathText(whole);
    const std::vector<u8> header = Header(path, size, static_cast<i64>(time.time_since_epoch().count()));
    char name[32];
    std::snprintf(name, sizeof(name), "%016llx",
                  static_cast<unsigned long long>(Fnv(reinterpret_cast<const u8*>(path.data()), path.size())));
    const fs::path place = folder / name;
    if (auto known = Unpack(ReadEntry(place), header)) {
        cached = true;
        return std::move(*known);
    }
    Print print = Print::OfStream(file);
    // Not when the stream was being written to meanwhile: this is neither the old one's nor the new one's.
    if (fs::last_write_time(file, noTime) == time && !noTime && fs::file_size(file, noSize) == size && !noSize)
        TryToKeep(place, header, print);
    return print;
}

} // namespace nvtool
