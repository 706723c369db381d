// See CDDB.h: looking records up in the local database, and storing them.
#include "CDDB.h"

#include "LocalTree.h"
#include "RecordReader.h"
#include "TextParts.h"
#include "audio/FileCalls.h"
#include "audio/WholeFile.h"

#include <algorithm>
#include <filesystem>
#include <limits>
#include <span>

using namespace NV;

namespace {

constexpr i64 worstScore = std::numeric_limits<i64>::max();
constexpr i64 karaokeBonus = 10;

/// How far a record's offsets are from the disc's; a karaoke record wins over one that fits as well.
i64 ScoreOf(const std::vector<i32>& offsets, std::span<const i32> recordOffsets, const std::string& category)
{
    u64 sum = 0;
    for (std::size_t i = 0; i < offsets.size(); ++i) {
        const i64 difference = i64{offsets[i]} - recordOffsets[i];
        const u64 square = static_cast<u64>(difference) * static_cast<u64>(difference);
        sum = std::min<u64>(sum + std::min<u64>(square, worstScore), worstScore);
    }
    return static_cast<i64>(sum) - (SameWithoutCase(category, "karaoke") ? karaokeBonus : 0);
}

/// A record that was counted; the whole of it is read only when it is among the results.
struct Counted {
    u32 discId;
    i64 score;
    std::string category, file;
};

/// The best record for a disc, then the others with its id or the one asked for. False when one of them is gone or is
/// not what its head told, which was read earlier.
bool FindRecords(LocalTree& database, u32 discId, const std::vector<i32>& frameOffsets,
                 std::vector<CCDDBRecord>& records)
{
    records.clear();
    std::vector<Counted> counted;
    counted.reserve(16); // more are rare
    std::size_t best = 0;
    i64 bestScore = worstScore;
    std::string bestText; // empty when only its head was kept
    database.ReadHeads(CandidateIds(discId), [&](const LocalTree::FoundHead& found) {
        if (found.frameOffsets.size() != frameOffsets.size())
            return;
        const i64 score = ScoreOf(frameOffsets, found.frameOffsets, found.category);
        if (score < bestScore) {
            bestScore = score;
            best = counted.size();
            bestText = found.text;
        }
        counted.push_back({found.recordId, score, found.category, found.file});
    });
    if (bestScore == worstScore)
        return true;
    bool asTold = true;
    const auto add = [&](const Counted& chosen, std::string_view text) {
        CCDDBRecord record;
        if ((text.empty() && !database.ReadText({0, chosen.category, chosen.file, 0, {}}, text)) ||
            !ReadRecord(text, record) || record.discId != chosen.discId ||
            record.frameOffsets.size() != frameOffsets.size() ||
            ScoreOf(frameOffsets, record.frameOffsets, chosen.category) != chosen.score) {
            asTold = false;
            return;
        }
        record.category = chosen.category.c_str();
        records.push_back(std::move(record));
    };
    const u32 bestId = counted[best].discId;
    add(counted[best], bestText);
    for (std::size_t i = 0; i < counted.size(); ++i) {
        if (i != best && (counted[i].discId == bestId || counted[i].discId == discId))
            add(counted[i], {});
    }
    return asTold;
}

bool IsPlainName(std::string_view name)
{
    const bool isDots = name == "." || name == "..";
    return !name.empty() && !isDots && name.find_first_of("/\\:*?\"<>|") == std::string_view::npos &&
           std::none_of(name.begin(), name.end(), [](char c) { return static_cast<unsigned char>(c) < ' '; });
}

/// Folders that were made on the way and go again unless all went well.
class MadeFolders {
public:
    ~MadeFolders()
    {
        std::error_code ignored;
        for (auto at = made.rbegin(); at != made.rend(); ++at)
            std::filesystem::remove(*at, ignored);
    }
    bool Make(const std::filesystem::path& folder)
    {
        std::error_code error;
        if (std::filesystem::is_directory(folder, error))
            return true;
        const auto parent = folder.parent_path();
        if (!parent.empty() && parent != folder && !Make(parent))
            return false;
        if (!std::filesystem::create_directory(folder, error))
            return std::filesystem::is_directory(folder, error);
        made.push_back(folder);
        return true;
    }
    void Keep() { made.clear(); }

private:
    std::vector<std::filesystem::path> made;
};

} // namespace

LocalTree& CCDDB::TreeFor(const char* folder)
{
    if (!tree || tree->Root() != folder)
        tree = std::make_unique<LocalTree>(folder);
    return *tree;
}

int CCDDB::QueryLocal(const char* folder, u32 discId, const std::vector<i32>& frameOffsets,
                      std::vector<CCDDBRecord>& records)
{
    ClearError();
    LocalTree& database = TreeFor(folder);
    if (!FindRecords(database, discId, frameOffsets, records)) {
        database.Forget();
        FindRecords(database, discId, frameOffsets, records);
    }
    return !records.empty();
}

int CCDDB::Read(const char* folder, u32 discId, bool exactFile, CCDDBRecord& record, CString& category)
{
    ClearError();
    record = CCDDBRecord();
    category.Empty();
    bool found = false;
    const auto take = [&](const LocalTree::Found& text) {
        found = ReadRecord(text.text, record);
        if (found)
            category = record.category = text.category.c_str();
        return !found;
    };
    const u32 ids[] = {discId};
    if (exactFile)
        TreeFor(folder).ReadFiles(ids, take);
    else
        TreeFor(folder).ReadRanges(ids, take);
    return found;
}

int CCDDB::WriteLocal(const char* folder, const char* category, const CCDDBRecord& record)
{
    ClearError();
    if (!*folder || !IsPlainName(category))
        return Fail(0, "A category is a plain name");
    const LocalTree place(folder);
    const std::string path = place.CategoryFolder(category);
    MadeFolders folders;
    if (!folders.Make(path))
        return Fail(0, "The category's folder cannot be made");
    const CString text = FormRecordText(record);
    const std::string name = path + pathSeparator + place.NameFor(category, record.discId);
    WholeFile file;
    const bool written = file.Create(name.c_str()) &&
                         Succeeds([&] { WriteBytes(file.Bytes(), text.GetString(), text.GetLength()); }) &&
                         file.Commit();
    if (!written)
        return Fail(0, "The record cannot be written");
    folders.Keep();
    return 1;
}
