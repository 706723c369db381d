// Files that appear whole or not at all, and the checks before any work begins: see Commands.h.
#include "Commands.h"

#include <cerrno>
#include <cstdio>
#include <memory>
#include <random>
#include <system_error>
#include <utility>

namespace nvtool {
namespace fs = std::filesystem;

namespace {

using FileHandle = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

FileHandle OpenFile(const fs::path& path, const char* mode)
{
    errno = 0;
    return {std::fopen(path.string().c_str(), mode), std::fclose};
}

std::string Reason(int error, const char* unknown)
{
    return error ? std::generic_category().message(error) : unknown;
}

// Nobody has the permission to write; an administrator's program could, and still should not.
bool IsWriteProtected(const fs::file_status& status)
{
    constexpr auto anyone = fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write;
    return (status.permissions() & anyone) == fs::perms::none;
}

} // namespace

OutputFile::OutputFile(fs::path path) : target(std::move(path)), place(target)
{
    const std::string name = PathText(target);
    std::error_code failure;
    // A link stays a link: the file that it names is the one to replace.
    if (fs::path real = fs::weakly_canonical(target, failure); !failure)
        place = std::move(real);
    const fs::file_status status = fs::status(place, failure);
    if (fs::is_directory(status))
        throw Error(name, "is a folder; a file is to be written");
    if (fs::exists(status) && !fs::is_regular_file(status))
        throw Error(name, "is not an ordinary file and will not be replaced");
    if (fs::exists(status) && IsWriteProtected(status))
        throw Error(name, "is write-protected and will not be replaced");
    if (place.has_parent_path() && !fs::is_directory(place.parent_path(), failure))
        throw Error(name, "there is no folder " + PathText(place.parent_path()));

    std::random_device random;
    do {
        char suffix[32];
        std::snprintf(suffix, sizeof(suffix), ".part-%08x", static_cast<unsigned>(random()));
        temporary = place;
        temporary += suffix;
    } while (fs::exists(temporary, failure));
    if (!OpenFile(temporary, "wb"))
        throw Error(name, "cannot be created: " + Reason(errno, "its folder takes no new file"));
}

OutputFile::OutputFile(OutputFile&& other) noexcept
    : target(std::move(other.target)), place(std::move(other.place)), temporary(std::exchange(other.temporary, {}))
{
}

OutputFile::~OutputFile()
{
    std::error_code ignored;
    if (!temporary.empty())
        fs::remove(temporary, ignored);
}

void OutputFile::Write(const void* data, size_t size)
{
    FileHandle file = OpenFile(temporary, "wb");
    const bool written = file && std::fwrite(data, 1, size, file.get()) == size && std::fflush(file.get()) == 0;
    const int error = errno;
    const bool closed = file && std::fclose(file.release()) == 0;
    if (!written || !closed)
        throw Error(PathText(target), "cannot be written: " + Reason(error, "not all bytes were taken"));
}

void OutputFile::Commit()
{
    std::error_code failure;
    fs::rename(temporary, place, failure);
    if (failure)
        throw Error(PathText(target), "cannot be put in place: " + failure.message());
    temporary.clear();
}

void OutputFile::WriteWhole(const fs::path& path, std::string_view bytes)
{
    OutputFile file(path);
    file.Write(bytes.data(), bytes.size());
    file.Commit();
}

void RefuseSameFile(const fs::path& input, const fs::path& output)
{
    std::error_code failure;
    bool same = fs::equivalent(input, output, failure);
    if (failure) // one of them does not exist yet
        same = fs::weakly_canonical(fs::absolute(input)) == fs::weakly_canonical(fs::absolute(output));
    if (same)
        throw Error(PathText(output), "is the same file as " + PathText(input) + "; nothing was written");
}

void RequireReadable(const fs::path& path)
{
    std::error_code failure;
    const fs::file_status status = fs::status(path, failure);
    if (!fs::exists(status))
        throw Error(PathText(path), failure && failure != std::errc::no_such_file_or_directory
                                        ? failure.message()
                                        : std::string("there is no such file"));
    if (fs::is_directory(status))
        throw Error(PathText(path), "is a folder, not a file");
    if (!fs::is_regular_file(status))
        throw Error(PathText(path), "is not an ordinary file");
    if (!OpenFile(path, "rb"))
        throw Error(PathText(path), "cannot be read: " + Reason(errno, "the system gives no reason"));
}

} // namespace nvtool
