// See CDDB.h: where the local database is, fetching it, unpacking it.
#include "CDDB.h"

#include "ArchiveDownload.h"
#include "ArchiveReader.h"
#include "ArchiveUnpacker.h"
#include "CDDBLog.h"
#include "FolderNames.h"
#include "UserSettings.h"

#include <filesystem>

using namespace NV;
namespace fs = std::filesystem;

namespace {

constexpr char settingsKey[] = "Software\\Varnel\\FreeDB";
constexpr char pathSetting[] = "LocalDBPath";
constexpr char databaseFolder[] = "LocalCDDatabase";
constexpr char archiveName[] = "freedbkar.7z";

bool IsArchive(const std::string& path)
{
    const auto reader = std::make_unique<ArchiveReader>();
    return reader->Open(path.c_str()) && reader->Next();
}

} // namespace

CString CCDDB::GetLocalDBPath()
{
    std::string path;
    if (ReadUserSetting(settingsKey, pathSetting, path) && !path.empty())
        return path.c_str();
    const std::string data = UserDataFolder(settingsKey);
    return data.empty() ? CString() : CString((data + pathSeparator + databaseFolder).c_str());
}

bool CCDDB::CheckForLocalDB()
{
    std::error_code ignored;
    return fs::is_directory(GetLocalDBPath().GetString(), ignored);
}

CString CCDDB::DownloadLocalDB(const char* folder, const ProgressCallback& progress, const CancelCallback& cancelled)
{
    const std::string place = folder ? std::string(folder) : UserDataFolder(settingsKey);
    if (c_szLocalDBURL.IsEmpty() || place.empty()) {
        CDDBLog("There is no address to fetch the local database from, or no place to keep it\n");
        return {};
    }
    std::error_code error;
    fs::create_directories(place, error);
    const std::string path = place + pathSeparator + archiveName;
    const std::string part = path + ".part";
    ArchiveDownload download(c_szLocalDBURL, part, c_nMaxUnpackedSize);
    if (!download.Run(progress, cancelled)) {
        CDDBLog(("The local database could not be fetched: " + download.Failure() + "\n").c_str());
        return {};
    }
    const bool isArchive = IsArchive(part);
    if (isArchive)
        fs::rename(part, path, error);
    download.Forget();
    if (isArchive && !error)
        return path.c_str();
    CDDBLog(isArchive ? "The local database's archive could not be put in its place\n"
                      : "What was fetched as the local database is no archive\n");
    return {};
}

int CCDDB::UnpackLocalDB(const char* archive, const char* destination, const ProgressCallback& progress,
                         const CancelCallback& cancelled)
{
    std::error_code error;
    const fs::path parent = fs::absolute(destination, error);
    if (error)
        return 0;
    const fs::path target = parent.filename() == databaseFolder ? parent : parent / databaseFolder;
    ArchiveUnpacker unpacker(target, c_nMaxUnpackedSize);
    if (!unpacker.Run(archive, progress, cancelled)) {
        CDDBLog(("The local database could not be unpacked: " + unpacker.Failure() + "\n").c_str());
        return 0;
    }
    return WriteUserSetting(settingsKey, pathSetting, target.string());
}
