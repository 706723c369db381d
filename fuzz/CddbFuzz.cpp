// Whatever comes from a server, a database or an image's table of contents: answers of every command, records in files
// of their own and in range files, cue sheets and other tables of contents, archives and the names in them.
//
// Input: a byte that says what the rest is, then that.
#include "CDDB.h"
#include "Check.h"
#include "Scratch.h"
#include "net/ArchiveUnpacker.h"
#include "net/CueSheet.h"
#include "net/LocalTree.h"
#include "net/RecordReader.h"

#include <span>
#include <string>

namespace {

void CheckRecord(const std::string& text)
{
    CCDDB client;
    CCDDBRecord record;
    NV::RecordHead head;
    const bool valid = NV::ReadRecord(text, record);
    FUZZ_CHECK(NV::ReadRecordHead(text, head) == valid);
    FUZZ_CHECK(record.trackTitles.size() == record.extendedTrackData.size() && record.trackTitles.size() <= 100);
    FUZZ_CHECK(record.frameOffsets.size() <= 99 && record.frameOffsets.empty() == !valid);
    if (!valid)
        return;
    FUZZ_CHECK(head.discId == record.discId && head.frameOffsets == record.frameOffsets);
    // What is written can be read, and from then on stays the same.
    CCDDBRecord again, third;
    const CString written = client.FormRecordText(record);
    if (text.find('\0') != std::string::npos)
        return;
    FUZZ_CHECK(client.ParseRecord(written, again));
    FUZZ_CHECK(again.frameOffsets == record.frameOffsets && again.discId == record.discId);
    const CString second = client.FormRecordText(again);
    FUZZ_CHECK(client.ParseRecord(second, third));
    FUZZ_CHECK(client.FormRecordText(third) == second);
}

void CheckRangeFile(const std::string& text)
{
    static const ScratchFolder scratch;
    const std::string path = scratch.Write("range", {reinterpret_cast<const u8*>(text.data()), text.size()});
    // All records wanted: together they are the file from its first mark on.
    std::string all;
    NV::ReadRangeFile(
        path.c_str(), [](u32) { return true; },
        [&](u32, std::string_view record) {
            FUZZ_CHECK(record.substr(0, 10) == "#FILENAME=");
            all += record;
            return true;
        });
    FUZZ_CHECK(all.size() <= text.size() && text.compare(text.size() - all.size(), all.size(), all) == 0);
    // Single ones come out the same.
    std::string even;
    NV::ReadRangeFile(
        path.c_str(), [](u32 id) { return id % 2 == 0; },
        [&](u32 id, std::string_view record) {
            FUZZ_CHECK(id % 2 == 0 && all.find(record) != std::string::npos);
            return true;
        });
}

void CheckAnswers(const std::string& body)
{
    CCDDB client;
    std::vector<CCDDBQueryResult> results;
    FUZZ_CHECK(client.ParseQueryBody(body, results) || results.empty());
    std::vector<CCDDBSite> sites;
    client.ParseSitesBody(body, sites);
    for (const CCDDBSite& site : sites)
        FUZZ_CHECK(site.port >= 1 && site.port <= 65535 && site.latitude >= 0 && site.longitude >= 0);
    std::vector<CString> categories;
    client.ParseCategoriesBody(body, categories);
    CCDDBStatus status;
    client.ParseStatusBody(body, status);
    CString text;
    FUZZ_CHECK(!client.ParseMessageBody(body, text) || text.Find("\r\n.\r\n") < 0);
    CCDDBRecord record;
    FUZZ_CHECK(client.ParseRecordBody(body, record) == !record.frameOffsets.empty());
    FUZZ_CHECK(client.ParseSubmitBody(body) == client.GetErrorMessage().IsEmpty() || body.empty());
}

void CheckCueSheet(const std::string& text)
{
    static const ScratchFolder scratch;
    static const std::string image = scratch.Write("i.bin", std::vector<u8>(2352 * 40));
    const std::string path = scratch.Write("s.cue", {reinterpret_cast<const u8*>(text.data()), text.size()});
    std::vector<NV::DiscPosition> positions;
    if (!NV::ReadCueSheet(path, positions)) {
        FUZZ_CHECK(positions.empty());
        return;
    }
    FUZZ_CHECK(positions.size() >= 2 && positions.size() <= 100);
    int last = 149;
    for (const NV::DiscPosition& at : positions) {
        const int frames = (at.minutes * 60 + at.seconds) * 75 + at.frames;
        FUZZ_CHECK(frames > last && at.seconds < 60 && at.frames < 75);
        last = frames;
    }
}

void CheckArchiveName(const std::string& name)
{
    std::filesystem::path relative;
    if (!NV::SafeRelativePath(name, relative))
        return;
    FUZZ_CHECK(relative.is_relative() && !relative.has_root_path());
    for (const auto& part : relative)
        FUZZ_CHECK(part != ".." && part != "." && part.string().find_first_of("\\:") == std::string::npos);
}

void CheckArchive(const std::string& bytes)
{
    constexpr u64 mostBytes = 1 << 20;
    static const ScratchFolder scratch;
    const std::string path = scratch.Write("a", {reinterpret_cast<const u8*>(bytes.data()), bytes.size()});
    const std::filesystem::path target = scratch.Path("out");
    bool unpacked = false;
    {
        NV::ArchiveUnpacker unpacker(target, mostBytes);
        unpacked = unpacker.Run(path.c_str(), {}, {});
        FUZZ_CHECK(unpacked == unpacker.Failure().empty());
    }
    FUZZ_CHECK(std::filesystem::is_directory(target) == unpacked);
    for (const auto& entry : std::filesystem::directory_iterator(target.parent_path())) // nothing beside it
        FUZZ_CHECK(entry.path() == target || entry.path() == path);
    std::filesystem::remove_all(target);
}

// Tables of contents that the system's library reads: nothing but places in order, or nothing at all.
void CheckTable(const char* name, const std::string& text)
{
    static const ScratchFolder scratch;
    static const std::string image = scratch.Write("i.bin", std::vector<u8>(2352 * 40));
    const std::string path = scratch.Write(name, {reinterpret_cast<const u8*>(text.data()), text.size()});
    std::vector<CCDDBTrackPosition> positions;
    if (CCDDB::GetTrackPositions(positions, path.c_str()))
        FUZZ_CHECK(positions.size() >= 2 && positions.size() <= 100);
    else
        FUZZ_CHECK(positions.empty());
    for (const CCDDBTrackPosition& at : positions)
        FUZZ_CHECK(at.minutes >= 0 && at.seconds >= 0 && at.seconds < 60 && at.frames >= 0 && at.frames < 75);
}

} // namespace

// The system's library forgets a few bytes of a table that says the same twice, which is not ours to mend.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions()
{
    return "leak:libcdio";
}

extern "C" int LLVMFuzzerTestOneInput(const u8* bytes, size_t size)
{
    if (size < 1)
        return 0;
    const std::string text(reinterpret_cast<const char*>(bytes) + 1, size - 1);
    switch (bytes[0] % 8) {
    case 0:
        CheckRecord(text);
        break;
    case 1:
        CheckRangeFile(text);
        break;
    case 2:
        CheckAnswers(text);
        break;
    case 3:
        CheckCueSheet(text);
        break;
    case 4:
        CheckArchiveName(text);
        break;
    case 5:
        CheckArchive(text);
        break;
    case 6:
        CheckTable("t.toc", text);
        break;
    default:
        CheckTable("t.nrg", text);
    }
    return 0;
}
