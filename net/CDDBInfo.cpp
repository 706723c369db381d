// See CDDB.h: everything at once, the local database first and a server second.
#include "CDDB.h"

#include "CDDBLog.h"
#include "FreeDBSelectCDDialog.h"
#include "LocalTree.h"
#include "RecordReader.h"

#include <algorithm>
#include <map>
#include <span>

using namespace NV;

namespace {

/// Only a record that fits better than this is taken from the local database.
constexpr i64 worstLocalScore = 0x7FFFFFFF;

i64 DistanceOf(const std::vector<i32>& offsets, const CCDDBRecord& record)
{
    i64 sum = 0;
    for (std::size_t i = 0; i < offsets.size() && sum < worstLocalScore; ++i) {
        const i64 difference = i64{offsets[i]} - record.frameOffsets[i];
        sum = std::abs(difference) > 0xFFFF ? worstLocalScore : sum + difference * difference;
    }
    return sum;
}

/// The record that fits best among those that the ids stand for; of each id the first one that is met counts.
class BestRecord {
public:
    explicit BestRecord(const std::vector<i32>& trackOffsets) : offsets(trackOffsets) {}
    bool Keep(const LocalTree::Found& found)
    {
        CCDDBRecord record;
        if (!records.contains(found.id) && ReadRecord(found.text, record)) {
            record.category = found.category.c_str();
            records.emplace(found.id, std::move(record));
        }
        return true;
    }
    bool Choose(std::span<const u32> ids, CCDDBRecord& best) const
    {
        i64 bestScore = worstLocalScore;
        for (const u32 id : ids) {
            const auto found = records.find(id);
            if (found == records.end() || found->second.frameOffsets.size() != offsets.size())
                continue;
            const i64 score = DistanceOf(offsets, found->second);
            if (score < bestScore) {
                bestScore = score;
                best = found->second;
            }
        }
        return bestScore < worstLocalScore;
    }

private:
    const std::vector<i32>& offsets;
    std::map<u32, CCDDBRecord> records;
};

/// Range files, of which more has to be read, come second: a database has one layout or the other.
bool BestLocalRecord(LocalTree& tree, u32 discId, const std::vector<i32>& offsets, CCDDBRecord& best)
{
    const auto ids = CandidateIds(discId);
    BestRecord records(offsets);
    const auto keep = [&](const LocalTree::Found& found) { return records.Keep(found); };
    tree.ReadFiles(ids, keep);
    if (records.Choose(ids, best))
        return true;
    tree.ReadRanges(ids, keep);
    return records.Choose(ids, best);
}

CCDDBTrackPosition PositionOf(i64 frames)
{
    return {static_cast<i32>(frames / (60 * 75)), static_cast<i32>(frames / 75 % 60), static_cast<i32>(frames % 75)};
}

/// The disc's places as its offsets and its id tell them. The id has the length behind the first track, in seconds.
std::vector<CCDDBTrackPosition> PositionsFrom(u32 discId, const std::vector<i32>& offsets)
{
    std::vector<CCDDBTrackPosition> positions;
    for (const i32 offset : offsets)
        // NOLINTNEXTLINE(performance-inefficient-vector-operation): a hundred at most
        positions.push_back(PositionOf(std::max(offset, 0)));
    const CCDDBTrackPosition& first = positions.front();
    const i64 leadOutSeconds = i64{discId >> 8 & 0xFFFF} + first.seconds + first.minutes; // see ComputeDiscID
    positions.push_back(PositionOf(leadOutSeconds * 75));
    return positions;
}

} // namespace

CString CCDDB::ReadFreeDBInfo(const char* drive, u32 discId, const std::vector<i32>& frameOffsets, int trackCount,
                              const char* localFolder, const char* host, const char* text)
{
    ClearError();
    if (trackCount < 1 || frameOffsets.empty())
        return text;
    std::vector<i32> offsets = frameOffsets;
    offsets.resize(std::min(offsets.size(), static_cast<std::size_t>(trackCount)));
    CCDDBRecord record;
    if (localFolder && *localFolder && BestLocalRecord(TreeFor(localFolder), discId, offsets, record))
        return FormRecordText(record);
    CCDDBSite site;
    site.host = host && *host ? CString(host) : c_szPublicServer;
    const CString found = ReadOnline(drive, discId, offsets, site);
    return found.IsEmpty() ? CString(text) : found;
}

CString CCDDB::ReadOnline(const char* drive, u32 discId, const std::vector<i32>& offsets, const CCDDBSite& site)
{
    // The service of that host was reachable over HTTPS alone, and so is what stands in for it.
    const bool onlyHttps = site.host == "tracktype.org";
    std::vector<CCDDBTrackPosition> positions;
    if (!drive || !*drive || !GetTrackPositions(positions, drive) || positions.size() != offsets.size() + 1)
        positions = PositionsFrom(discId, offsets);
    std::vector<CCDDBQueryResult> matches;
    const bool bySocket = !onlyHttps && Query(site, discId, positions, matches);
    if (!bySocket && !QueryHTTP(site, discId, positions, matches))
        return {};
    CDDBLog("Retrieved the following matches for the inserted audio CD\n");
    for (const CCDDBQueryResult& match : matches) {
        CString line;
        line.Format("%08x, %s / %s\n", match.discId, match.artist.GetString(), match.title.GetString());
        CDDBLog(line);
    }
    int chosen = matches.empty() ? -1 : 0;
    if (matches.size() > 1)
        chosen = c_pSelectMatchCallback ? c_pSelectMatchCallback(matches) : AskForMatch(matches);
    if (chosen < 0 || static_cast<std::size_t>(chosen) >= matches.size())
        return {};
    const CCDDBQueryResult& match = matches[static_cast<std::size_t>(chosen)];
    CCDDBRecord record;
    const bool read = bySocket ? Read(site, match.discId, match.category, record) != 0
                               : ReadHTTP(site, match.discId, match.category, record) != 0;
    CDDBLog("CDDB Processing result\n");
    return read ? FormRecordText(record) : CString();
}
