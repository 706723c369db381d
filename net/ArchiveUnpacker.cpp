// See ArchiveUnpacker.h. Everything goes into a folder beside the target first.
#include "ArchiveUnpacker.h"

#include "ArchiveReader.h"
#include "TextParts.h"
#include "audio/FileCalls.h"

#include <system_error>
#include <vector>

namespace fs = std::filesystem;

namespace NV {
namespace {

constexpr std::size_t pieceSize = 64 << 10;
constexpr std::size_t longestName = 200;
constexpr int deepest = 16;
constexpr int mostNames = 1000;

/// Names that open a device on Windows, whatever their ending.
bool IsDevice(std::string_view name)
{
    const std::string_view stem = name.substr(0, name.find('.'));
    for (const char* const device : {"CON", "PRN", "AUX", "NUL", "CONIN$", "CONOUT$"}) {
        if (SameWithoutCase(stem, device))
            return true;
    }
    const std::string_view kind = stem.substr(0, 3);
    return stem.size() == 4 && (SameWithoutCase(kind, "COM") || SameWithoutCase(kind, "LPT")) && stem[3] >= '0' &&
           stem[3] <= '9';
}

bool IsSafeName(std::string_view name)
{
    if (name.empty() || name.size() > longestName || name == ".." || IsDevice(name))
        return false;
    if (name.back() == '.' || name.back() == ' ') // dropped by Windows, so that it is another name there
        return false;
    for (const char c : name) {
        if (static_cast<unsigned char>(c) < ' ' || std::string_view(":*?\"<>|").find(c) != std::string_view::npos)
            return false;
    }
    return true;
}

} // namespace

bool SafeRelativePath(std::string_view name, fs::path& relative)
{
    relative.clear();
    if (name.empty() || name.front() == '/' || name.front() == '\\')
        return false;
    for (int depth = 0; !name.empty(); ++depth) {
        const std::size_t end = name.find_first_of("/\\");
        const std::string_view part = name.substr(0, end);
        name.remove_prefix(end == std::string_view::npos ? name.size() : end + 1);
        if (part.empty() || part == ".")
            continue;
        if (depth >= deepest || !IsSafeName(part))
            return false;
        relative /= std::string(part);
    }
    return true;
}

ArchiveUnpacker::~ArchiveUnpacker()
{
    std::error_code ignored;
    if (!staging.empty())
        fs::remove_all(staging, ignored);
    for (const fs::path& folder : madeParents)
        fs::remove(folder, ignored); // fails where something was put into it
}

bool ArchiveUnpacker::Fail(const std::string& what)
{
    failure = what;
    return false;
}

bool ArchiveUnpacker::Run(const char* archive, const std::function<void(double)>& progress,
                          const std::function<bool()>& cancelled)
{
    return MakeStaging() && UnpackEntries(archive, progress, cancelled) && PutInPlace();
}

bool ArchiveUnpacker::MakeStaging()
{
    std::error_code error;
    for (fs::path folder = target.parent_path(); folder.has_relative_path() && !fs::exists(folder, error);
         folder = folder.parent_path())
        madeParents.push_back(folder);
    fs::create_directories(target.parent_path(), error);
    for (int attempt = 0; attempt < mostNames; ++attempt) {
        fs::path candidate = target;
        candidate += ".~" + std::to_string(attempt);
        if (fs::create_directory(candidate, error)) {
            staging = candidate;
            return true;
        }
        if (error)
            break;
    }
    return Fail("no folder can be made beside " + target.string());
}

bool ArchiveUnpacker::UnpackEntries(const char* archive, const std::function<void(double)>& progress,
                                    const std::function<bool()>& cancelled)
{
    const auto reader = std::make_unique<ArchiveReader>();
    if (!reader->Open(archive))
        return Fail("this is no archive");
    const std::string targetName = target.filename().string();
    std::vector<char> piece(pieceSize);
    bool any = false;
    while (archive_entry* const entry = reader->Next()) {
        if (cancelled && cancelled())
            return Fail("stopped");
        const char* const utf8 = archive_entry_pathname_utf8(entry);
        const char* const name = utf8 ? utf8 : archive_entry_pathname(entry);
        fs::path relative;
        if (!name || !SafeRelativePath(name, relative))
            return Fail(std::string("it holds a name that leads elsewhere: ") + (name ? name : "?"));
        if (!relative.empty() && relative.begin()->string() == targetName)
            relative = relative.lexically_relative(targetName);
        const bool isFile = archive_entry_filetype(entry) == AE_IFREG && !archive_entry_hardlink(entry);
        const bool isFolder = archive_entry_filetype(entry) == AE_IFDIR;
        std::error_code error;
        const fs::path path = staging / relative;
        fs::create_directories(isFolder ? path : path.parent_path(), error);
        if (error)
            return Fail(path.string() + " cannot be made");
        if (!isFile)
            continue;
        CFile file;
        if (!file.Open(path.string().c_str(), CFile::modeCreate | CFile::modeWrite | CFile::shareExclusive))
            return Fail(path.string() + " cannot be written; is there room on the disk?");
        while (const std::size_t count = reader->Read(piece.data(), piece.size())) {
            if (count > room)
                return Fail("it unpacks to more than is allowed");
            room -= count;
            if (!Succeeds([&] { file.Write(piece.data(), static_cast<UINT>(count)); }))
                return Fail(path.string() + " cannot be written; is there room on the disk?");
            if (cancelled && cancelled())
                return Fail("stopped");
        }
        if (!Succeeds([&] { file.Close(); }))
            return Fail(path.string() + " cannot be written; is there room on the disk?");
        any = true;
        if (progress)
            progress(reader->Progress());
    }
    if (reader->Damaged())
        return Fail("it is damaged");
    if (!any)
        return Fail("it holds no files");
    if (progress)
        progress(1);
    return true;
}

/// A target that is not there yet gets everything at once; otherwise file by file, each replaced in one step.
bool ArchiveUnpacker::PutInPlace()
{
    std::error_code error;
    if (!fs::exists(target, error)) {
        fs::rename(staging, target, error);
        if (error)
            return Fail(target.string() + " cannot be made");
        staging.clear();
        return true;
    }
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(staging, error)) {
        const fs::path place = target / entry.path().lexically_relative(staging);
        if (entry.is_directory())
            fs::create_directories(place, error);
        else
            fs::rename(entry.path(), place, error);
        if (error)
            return Fail(place.string() + " cannot be replaced");
    }
    return !error || Fail(target.string() + " cannot be filled");
}

} // namespace NV
