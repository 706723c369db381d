// See LocalTree.h.
#include "LocalTree.h"

#include "RecordReader.h"
#include "TextParts.h"

#include <algorithm>

namespace NV {
namespace {

constexpr std::size_t longestRecord = 4 << 20;
constexpr u32 idTail = 0xFFFFFF;
/// File systems stamp in steps of up to this; a folder that changed later may change once more within the same stamp.
constexpr i64 secondsToSettle = 2;
/// Enough names to see how a folder's names are written; hardly any has no letters.
constexpr std::size_t sampledNames = 16;

// An entry of the index, most significant first: 24 bits of the id's tail, 24 of the folder, 8 of the id's first byte,
// 8 of the spelling. Sorted, all names that one question asks for lie side by side, folder by folder.
constexpr u64 MakeEntry(u32 id, std::size_t folder, u8 spelling)
{
    return static_cast<u64>(id & idTail) << 40 | static_cast<u64>(folder & idTail) << 16 |
           static_cast<u64>(id >> 24) << 8 | spelling;
}
constexpr u32 IdOf(u64 entry)
{
    return static_cast<u32>(entry >> 8 & 0xFFU) << 24 | static_cast<u32>(entry >> 40);
}
constexpr std::size_t FolderOf(u64 entry)
{
    return static_cast<std::size_t>(entry >> 16 & idTail);
}

bool HasCapitals(std::string_view name)
{
    return std::any_of(name.begin(), name.end(), [](char c) { return c >= 'A' && c <= 'F'; });
}

bool HasSmall(std::string_view name)
{
    return std::any_of(name.begin(), name.end(), [](char c) { return c >= 'a' && c <= 'f'; });
}

/// "10to1F": two digits, the word, two digits.
bool ParseRangeName(std::string_view name, u8& first, u8& last)
{
    if (name.size() != 6 || !SameWithoutCase(name.substr(2, 2), "to"))
        return false;
    for (const std::size_t at : {0U, 1U, 4U, 5U}) {
        if (HexDigit(name[at]) < 0)
            return false;
    }
    first = static_cast<u8>(LeadingHex(name.substr(0, 2)));
    last = static_cast<u8>(LeadingHex(name.substr(4, 2)));
    return true;
}

bool Settled(const FileMoment& changed, const FileMoment& listed)
{
    return changed.seconds + secondsToSettle < listed.seconds;
}

} // namespace

std::vector<u32> CandidateIds(u32 discId)
{
    std::vector<u32> ids;
    for (u32 k = 0; k <= 32; ++k)
        ids.push_back(((discId >> 24) + k - 16) << 24 | (discId & idTail));
    return ids;
}

std::string LocalTree::NameOf(u32 id, Spelling spelling)
{
    const char* const digits = spelling == capital ? "0123456789ABCDEF" : "0123456789abcdef";
    std::string name(8, '0');
    for (std::size_t i = 0; i < 8; ++i)
        name[i] = digits[id >> (28 - 4 * i) & 15U];
    return name;
}

// ---- Without an index ----

namespace {

/// The slow way, for folders whose names are written in no one way.
std::vector<std::string> NamesByListing(const std::string& folder, std::span<const u32> ids)
{
    std::vector<std::string> names(ids.size());
    ListFolder(folder.c_str(), [&](std::string_view name, EntryKind) {
        const auto id = DiscIdOf(name);
        const auto at = id ? std::find(ids.begin(), ids.end(), *id) : ids.end();
        if (at != ids.end())
            names[static_cast<std::size_t>(at - ids.begin())] = name;
        return true;
    });
    std::erase(names, "");
    return names;
}

} // namespace

/// The names that are there. Each question costs the system as much as any other, so where names have case a few of the
/// folder's tell how they are written; with `all` both ways are tried.
std::vector<std::string> LocalTree::NamesWithoutIndex(const FolderHandle& folder, std::span<const u32> ids,
                                                      bool all) const
{
    bool capitals = true;
    bool smalls = fileNamesHaveCase;
    bool mixture = false;
    if (fileNamesHaveCase && !all) {
        bool sawCapitals = false;
        bool sawSmalls = false;
        for (const std::string& name : folder.SomeNames(sampledNames)) {
            if (name.size() != 8)
                continue;
            sawCapitals = sawCapitals || HasCapitals(name);
            sawSmalls = sawSmalls || HasSmall(name);
            mixture = mixture || (HasCapitals(name) && HasSmall(name));
        }
        if (sawCapitals != sawSmalls) {
            capitals = sawCapitals;
            smalls = sawSmalls;
        }
    }
    std::vector<std::string> names;
    if (mixture)
        return NamesByListing(folder.Path(), ids);
    for (const u32 id : ids) {
        const std::string inCapitals = NameOf(id, capital);
        const bool hasLetters = HasCapitals(inCapitals);
        if ((capitals || !hasLetters) && folder.Has(inCapitals.c_str()))
            names.push_back(inCapitals);
        else if (smalls && hasLetters) {
            const std::string inSmalls = NameOf(id, small);
            if (folder.Has(inSmalls.c_str()))
                names.push_back(inSmalls);
        }
    }
    return names;
}

bool LocalTree::ReadWithoutIndex(std::span<const u32> ids, bool all, const Use& use)
{
    bool found = false;
    CCDDBRecord record;
    for (const std::string& name : SubfoldersOf(root)) {
        const FolderHandle folder(root + pathSeparator + name);
        if (!folder.IsOpen())
            continue;
        for (const std::string& file : NamesWithoutIndex(folder, ids, all)) {
            found = true;
            if (!folder.Read(file.c_str(), longestRecord, text) || !ReadRecord(text, record))
                continue;
            record.category = name.c_str();
            if (!use(LeadingHex(file), record))
                return true;
        }
    }
    return found;
}

// ---- The index ----

void LocalTree::ListCategory(Category& category, const FileMoment& newChanged)
{
    category.entries.clear();
    category.ranges.clear();
    category.mixedNames.clear();
    const FileMoment listed = FileClockNow();
    ListFolder((root + pathSeparator + category.name).c_str(), [&](std::string_view name, EntryKind kind) {
        if (kind == EntryKind::folder)
            return true;
        RangeFile range;
        if (const auto id = DiscIdOf(name)) {
            const Spelling spelling = !HasCapitals(name) ? small : HasSmall(name) ? mixed : capital;
            if (spelling == mixed)
                category.mixedNames.emplace_back(*id, name);
            category.entries.push_back(MakeEntry(*id, 0, spelling));
        } else if (ParseRangeName(name, range.first, range.last)) {
            range.name = name;
            category.ranges.push_back(range);
        }
        return true;
    });
    std::sort(category.ranges.begin(), category.ranges.end(),
              [](const RangeFile& a, const RangeFile& b) { return a.name < b.name; });
    category.changed = newChanged;
    category.settled = Settled(newChanged, listed);
}

void LocalTree::Merge()
{
    std::size_t count = 0;
    for (const Category& category : categories)
        count += category.entries.size();
    index.clear();
    index.reserve(count);
    for (std::size_t i = 0; i < categories.size(); ++i) {
        for (const u64 entry : categories[i].entries)
            index.push_back(entry | static_cast<u64>(i & idTail) << 16);
    }
    std::sort(index.begin(), index.end());
}

/// Brings the index up to date. Times are taken before the listing they stand for, so a change in between shows later.
void LocalTree::UpdateIndex(const FolderHandle& folder)
{
    FileMoment now;
    bool merge = false;
    if (!folder.Changed(".", now) || now != changed || !settled) {
        const FileMoment listed = FileClockNow();
        std::vector<Category> found;
        for (std::string& name : SubfoldersOf(root)) {
            const auto known = std::find_if(categories.begin(), categories.end(),
                                            [&](const Category& category) { return category.name == name; });
            if (known != categories.end())
                found.push_back(std::move(*known));
            else
                found.push_back({std::move(name), {}, false, {}, {}, {}});
        }
        merge = categories.size() != found.size() ||
                !std::equal(found.begin(), found.end(), categories.begin(),
                            [](const Category& a, const Category& b) { return a.name == b.name; });
        categories = std::move(found);
        changed = now;
        settled = Settled(now, listed);
    }
    for (Category& category : categories) {
        FileMoment moment;
        if (!folder.Changed(category.name.c_str(), moment))
            moment = {};
        if (category.settled && moment == category.changed)
            continue;
        ListCategory(category, moment);
        merge = true;
    }
    if (merge)
        Merge();
}

std::string LocalTree::IndexedName(const Category& category, u64 entry) const
{
    const Spelling spelling = static_cast<Spelling>(entry & 0xFFU);
    if (spelling != mixed)
        return NameOf(IdOf(entry), spelling);
    for (const auto& [id, name] : category.mixedNames) {
        if (id == IdOf(entry))
            return name;
    }
    return {};
}

void LocalTree::ReadFiles(std::span<const u32> ids, const Use& use)
{
    if (!asked) {
        asked = true;
        // A folder may have a few names that are not written like those that were looked at.
        if (!ReadWithoutIndex(ids, false, use) && fileNamesHaveCase)
            ReadWithoutIndex(ids, true, use);
        return;
    }
    const FolderHandle folder(root);
    if (!folder.IsOpen())
        return;
    UpdateIndex(folder);
    const u64 tail = static_cast<u64>(ids.front() & idTail);
    const auto first = std::lower_bound(index.begin(), index.end(), tail << 40);
    const auto last = std::lower_bound(first, index.end(), (tail + 1) << 40);
    CCDDBRecord record;
    // Within a folder in the order of the ids, each name once.
    for (auto at = first; at != last;) {
        const std::size_t number = FolderOf(*at);
        const auto folderEnd = std::find_if(at, last, [&](u64 entry) { return FolderOf(entry) != number; });
        const Category& category = categories[number];
        for (const u32 id : ids) {
            const auto entry = std::find_if(at, folderEnd, [&](u64 each) { return IdOf(each) == id; });
            if (entry == folderEnd)
                continue;
            const std::string name = category.name + pathSeparator + IndexedName(category, *entry);
            if (!folder.Read(name.c_str(), longestRecord, text) || !ReadRecord(text, record))
                continue;
            record.category = category.name.c_str();
            if (!use(id, record))
                return;
        }
        at = folderEnd;
    }
}

void LocalTree::ReadRanges(std::span<const u32> ids, const Use& use)
{
    asked = true;
    const FolderHandle folder(root);
    if (!folder.IsOpen())
        return;
    UpdateIndex(folder);
    const auto isWanted = [&](u32 id) { return std::find(ids.begin(), ids.end(), id) != ids.end(); };
    bool go = true;
    CCDDBRecord record;
    for (const Category& category : categories) {
        for (const RangeFile& range : category.ranges) {
            const std::size_t within = static_cast<std::size_t>(std::count_if(
                ids.begin(), ids.end(), [&](u32 id) { return id >> 24 >= range.first && id >> 24 <= range.last; }));
            if (within == 0)
                continue;
            std::size_t left = within; // an id has one record a file
            const std::string path = root + pathSeparator + category.name + pathSeparator + range.name;
            ReadRangeFile(path.c_str(), isWanted, [&](u32 id, std::string_view found) {
                if (ReadRecord(found, record)) {
                    record.category = category.name.c_str();
                    go = use(id, record);
                }
                return go && --left > 0;
            });
            if (!go)
                return;
        }
    }
}

// ---- Names of new records ----

std::string LocalTree::CategoryFolder(const std::string& category) const
{
    for (const std::string& name : SubfoldersOf(root)) {
        if (SameWithoutCase(name, category))
            return root + pathSeparator + name;
    }
    return root + pathSeparator + category;
}

/// Written as the other names of its folder, so that programs that know one way only find it.
std::string LocalTree::NameFor(const std::string& category, u32 id) const
{
    bool sawSmalls = false;
    const FolderHandle folder(CategoryFolder(category));
    if (folder.IsOpen()) {
        for (const Spelling spelling : {capital, small}) {
            if (folder.Has(NameOf(id, spelling).c_str()))
                return NameOf(id, spelling);
        }
        for (const std::string& name : folder.SomeNames(sampledNames))
            sawSmalls = sawSmalls || (DiscIdOf(name) && HasSmall(name) && !HasCapitals(name));
    }
    return NameOf(id, sawSmalls ? small : capital);
}

} // namespace NV
