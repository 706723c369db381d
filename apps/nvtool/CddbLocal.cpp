// nvtool cddb local, unpack, download: a copy of the database on this machine.
#include "Cddb.h"

#include "Commands.h"
#include "Discs.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <cstdio>
#include <memory>

namespace nvtool {
using nlohmann::ordered_json;

namespace {

struct CddbLocalArguments {
    std::string db;
    DiscOptions discs;
    bool all = false, json = false;
    Encoding encoding = Encoding::automatic;
    std::string archive, url, folder;
};

std::string DatabaseFolder(const CddbLocalArguments& options)
{
    const std::string folder = options.db.empty() ? CCDDB::GetLocalDBPath().GetString() : options.db;
    std::error_code ignored;
    if (!std::filesystem::is_directory(folder, ignored))
        throw Error(folder, "there is no such folder");
    return folder;
}

// The records of one disc, from files of their own or, where there are none, from range files.
std::vector<CCDDBRecord> LookUp(CCDDB& client, const std::string& folder, const Disc& disc)
{
    std::vector<CCDDBRecord> records;
    CCDDBRecord record;
    CString category;
    if (!client.QueryLocal(folder.c_str(), disc.id, disc.offsets, records) &&
        client.Read(folder.c_str(), disc.id, false, record, category))
        records.push_back(record);
    return records;
}

void Local(const CddbLocalArguments& options)
{
    const std::string folder = DatabaseFolder(options);
    const std::vector<Disc> discs = ReadDiscs(options.discs);
    CCDDB client; // one for all discs: it keeps an index
    ordered_json json = ordered_json::array();
    size_t missing = 0;
    for (const Disc& disc : discs) {
        const std::vector<CCDDBRecord> records = LookUp(client, folder, disc);
        missing += records.empty();
        if (options.json) {
            ordered_json found = ordered_json::array();
            for (const CCDDBRecord& record : records)
                found.push_back(RecordJson(record, options.encoding));
            json.push_back({{"disc", DiscJson(disc)}, {"records", found}});
            continue;
        }
        for (const CCDDBRecord& record : records)
            PrintRecord(record, options.encoding);
        if (records.empty())
            std::printf("%s: no record for %s\n", disc.name.c_str(), DiscIdText(disc.id).c_str());
    }
    if (options.json)
        PrintJson(json);
    if (missing == discs.size())
        throw Error(folder, "holds no record of " + std::string(missing == 1 ? "this disc" : "any of these discs"));
}

void Unpack(const CddbLocalArguments& options)
{
    RequireReadable(options.archive);
    Progress progress("unpacking", 1000);
    CCDDB::c_pWriteLogCallback = [](const char* text) { std::fputs(text, stderr); };
    if (!CCDDB::UnpackLocalDB(options.archive.c_str(), options.folder.c_str(),
                              [&](double done) { progress.Update(u64(done * 1000)); }))
        throw Error(options.archive, "could not be unpacked into " + options.folder + "; nothing was changed");
    const CString path = CCDDB::GetLocalDBPath();
    if (options.json)
        return PrintJson({{"archive", options.archive}, {"folder", PathText(path.GetString())}});
    std::printf("%s is now the local database\n", PathText(path.GetString()).c_str());
}

void Download(const CddbLocalArguments& options)
{
    Progress progress("fetching", 1000);
    CCDDB::c_szLocalDBURL = options.url.c_str();
    CCDDB::c_pWriteLogCallback = [](const char* text) { std::fputs(text, stderr); };
    const CString file =
        CCDDB::DownloadLocalDB(options.folder.c_str(), [&](double done) { progress.Update(u64(done * 1000)); });
    if (file.IsEmpty())
        throw Error(options.url,
                    "could not be fetched into " + options.folder + "; the same command goes on from where it stopped");
    if (options.json)
        return PrintJson({{"url", options.url}, {"file", PathText(file.GetString())}});
    std::printf("%s\n", PathText(file.GetString()).c_str());
}

} // namespace

void AddCddbLocal(CLI::App& cddb)
{
    auto options = std::make_shared<CddbLocalArguments>();
    CLI::App& local = *cddb.add_subcommand("local", "Look discs up in a local database");
    local.add_option("--db", options->db, "Its folder; without it the one that was unpacked last")->type_name("DIR");
    AddDiscOptions(local, options->discs, true);
    AddEncodingOption(local, options->encoding);
    AddJsonFlag(local, options->json);
    local.footer("\nExample:\n  nvtool cddb local --db database --image album.cue");
    local.callback([options] { Local(*options); });

    CLI::App& unpack = *cddb.add_subcommand("unpack", "Unpack an archive of the database and use it from now on");
    unpack.add_option("ARCHIVE", options->archive, "7z, ZIP or TAR")->required()->type_name("");
    unpack.add_option("DIR", options->folder, "Where the folder LocalCDDatabase is to be")->required()->type_name("");
    AddJsonFlag(unpack, options->json);
    unpack.footer("\nExample:\n  nvtool cddb unpack freedbkar.7z data");
    unpack.callback([options] { Unpack(*options); });

    CLI::App& download = *cddb.add_subcommand("download", "Fetch an archive of the database, on from where it stopped");
    download.add_option("URL", options->url, "Where it is")->required()->type_name("");
    download.add_option("DIR", options->folder, "Folder for it")->required()->type_name("");
    AddJsonFlag(download, options->json);
    download.footer("\nExample:\n  nvtool cddb download https://example.org/freedbkar.7z .");
    download.callback([options] { Download(*options); });
}

} // namespace nvtool
