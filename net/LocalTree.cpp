// See LocalTree.h.
#include "LocalTree.h"

#include "TextParts.h"

#include <algorithm>
#include <iterator>

namespace NV {
namespace {

constexpr u32 idTail = 0xFFFFFF;
/// File systems stamp in steps of up to this; a folder that changed later may change once more within the same stamp.
constexpr i64 secondsToSettle = 2;
/// Offsets of heads that are kept; a few MiB.
constexpr std::size_t mostKeptOffsets = 2 << 20;
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

std::array<u32, 33> CandidateIds(u32 discId)
{
    std::array<u32, 33> ids;
    for (u32 k = 0; k < ids.size(); ++k)
        ids[k] = ((discId >> 24) + k - 16) << 24 | (discId & idTail);
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
//
// Each question for a name costs the system as much as any other, so where names have case they are asked for in one
// spelling: small folders are listed instead, and a large one has its names from a program that writes all alike. Only
// when that finds nothing is the other spelling tried.

namespace {

/// The names of these ids that are there, however they are written; the first of several.
std::vector<std::string> NamesByListing(const std::string& folder, std::span<const u32> ids)
{
    std::vector<std::string> names(ids.size());
    ListFolder(folder.c_str(), [&](std::string_view name, EntryKind) {
        const auto id = DiscIdOf(name);
        const auto at = id ? std::find(ids.begin(), ids.end(), *id) : ids.end();
        if (at == ids.end())
            return true;
        std::string& kept = names[static_cast<std::size_t>(at - ids.begin())];
        if (kept.empty() || name < kept)
            kept = name;
        return true;
    });
    std::erase(names, "");
    return names;
}

} // namespace

/// Whether names with letters are written with small ones, as far as a few of them tell.
bool LocalTree::IsSmallSpelling(const FolderHandle& folder, bool& known)
{
    for (const std::string& name : folder.SomeNames(sampledNames)) {
        known = DiscIdOf(name) && (HasSmall(name) || HasCapitals(name));
        if (known)
            return HasSmall(name);
    }
    return false;
}

/// How the names of the first folder that tells are written, of those too large to be listed.
LocalTree::Spelling LocalTree::UsualSpelling(std::span<const std::string> folders) const
{
    for (const std::string& name : folders) {
        const FolderHandle folder(path + pathSeparator + name);
        bool known = false;
        if (folder.IsOpen() && !folder.IsSmall()) {
            const bool isSmall = IsSmallSpelling(folder, known);
            if (known)
                return isSmall ? small : capital;
        }
    }
    return capital;
}

void LocalTree::FindFirstTime(std::span<const u32> ids, const UseFile& use)
{
    asked = true;
    const std::vector<std::string> folders = SubfoldersOf(path);
    std::vector<std::string> askedFor, names; // folders that were asked for names, and which
    Spelling spelling = capital;
    const auto spell = [&](Spelling wanted) {
        spelling = wanted;
        names.clear();
        for (const u32 id : ids)
            names.push_back(NameOf(id, spelling));
    };
    bool found = false, go = true;
    const auto useAll = [&](const FolderHandle& folder, const std::string& category,
                            const std::vector<std::string>& files) {
        for (std::size_t i = 0; go && i < files.size(); ++i) {
            found = true;
            go = use(folder, category, files[i]);
        }
    };
    const auto ask = [&](const FolderHandle& folder, const std::string& category) {
        std::vector<std::string> there;
        std::copy_if(names.begin(), names.end(), std::back_inserter(there),
                     [&](const std::string& each) { return folder.Has(each.c_str()); });
        useAll(folder, category, there);
    };
    for (std::size_t i = 0; go && i < folders.size(); ++i) {
        const FolderHandle folder(path + pathSeparator + folders[i]);
        if (!folder.IsOpen())
            continue;
        if (fileNamesHaveCase && folder.IsSmall()) {
            useAll(folder, folders[i], NamesByListing(folder.Path(), ids));
            continue;
        }
        if (names.empty())
            spell(fileNamesHaveCase ? UsualSpelling(std::span(folders).subspan(i)) : capital);
        ask(folder, folders[i]);
        askedFor.push_back(folders[i]);
    }
    if (found || !fileNamesHaveCase)
        return;
    spell(spelling == small ? capital : small);
    for (std::size_t i = 0; go && i < askedFor.size(); ++i)
        ask(FolderHandle(path + pathSeparator + askedFor[i]), askedFor[i]);
}

// ---- The index ----

void LocalTree::ListCategory(Category& category, const FileMoment& newChanged)
{
    category.entries.clear();
    category.ranges.clear();
    category.mixedNames.clear();
    const FileMoment listed = FileClockNow();
    ListFolder((path + pathSeparator + category.name).c_str(), [&](std::string_view name, EntryKind kind) {
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
    Forget(); // entries may stand for other folders now
}

bool LocalTree::OpenRoot()
{
    if (!root.IsOpen())
        root = FolderHandle(path);
    return root.IsOpen();
}

/// Brings the index up to date. Times are taken before the listing they stand for, so a change in between shows later.
bool LocalTree::UpdateIndex()
{
    FileMoment now;
    bool merge = false;
    if (!OpenRoot() || !root.Changed(now) || now != changed || !settled) {
        // Whatever happened to the root may have happened to the folders in it.
        root = FolderHandle(path);
        if (!root.IsOpen() || !root.Changed(now)) {
            categories.clear();
            index.clear();
            return false;
        }
        const FileMoment listed = FileClockNow();
        std::vector<Category> found;
        for (std::string& name : SubfoldersOf(path)) {
            const auto known = std::find_if(categories.begin(), categories.end(),
                                            [&](const Category& category) { return category.name == name; });
            const bool isNew = known == categories.end();
            merge = merge || isNew;
            found.push_back(isNew ? Category(std::move(name)) : std::move(*known));
            found.back().folder = FolderHandle(path + pathSeparator + found.back().name);
        }
        merge = merge || categories.size() != found.size();
        categories = std::move(found);
        changed = now;
        settled = Settled(now, listed);
    }
    for (Category& category : categories) {
        FileMoment moment;
        if (!category.folder.IsOpen() || !category.folder.Changed(moment))
            moment = {};
        if (category.settled && moment == category.changed)
            continue;
        ListCategory(category, moment);
        merge = true;
    }
    if (merge)
        Merge();
    return true;
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

void LocalTree::FindInIndex(std::span<const u32> ids, const UseEntry& use)
{
    if (!UpdateIndex())
        return;
    const u64 tail = static_cast<u64>(ids.front() & idTail);
    const auto first = std::lower_bound(index.begin(), index.end(), tail << 40);
    const auto last = std::find_if(first, index.end(), [&](u64 entry) { return entry >> 40 != tail; });
    for (auto at = first; at != last;) {
        const std::size_t number = FolderOf(*at);
        const auto folderEnd = std::find_if(at, last, [&](u64 entry) { return FolderOf(entry) != number; });
        const Category& category = categories[number];
        for (const u32 id : ids) { // each name once
            const auto entry = std::find_if(at, folderEnd, [&](u64 each) { return IdOf(each) == id; });
            if (entry != folderEnd &&
                !use(category, static_cast<std::size_t>(entry - index.begin()), IndexedName(category, *entry)))
                return;
        }
        at = folderEnd;
    }
}

void LocalTree::Forget()
{
    keptAt.assign(index.size(), 0);
    keptHeads.clear();
    keptOffsets.clear();
}

/// The head of a record, and its text when that had to be read. False when the file is gone.
bool LocalTree::HeadOf(const Category& category, std::size_t place, const std::string& file, KeptHead& found,
                       std::string_view& text)
{
    if (keptAt[place] > 0) {
        found = keptHeads[keptAt[place] - 1];
        return true;
    }
    FileMoment written;
    if (!category.folder.Read(file.c_str(), longestRecord, buffer, text, &written))
        return false;
    found = {0, static_cast<u32>(keptOffsets.size()), 0};
    if (ReadRecordHead(text, head)) {
        found.recordId = head.discId;
        found.offsets = static_cast<u32>(head.frameOffsets.size());
        keptOffsets.insert(keptOffsets.end(), head.frameOffsets.begin(), head.frameOffsets.end());
    }
    if (Settled(written, FileClockNow())) { // otherwise somebody may be in the middle of writing it
        keptHeads.push_back(found);
        keptAt[place] = static_cast<u32>(keptHeads.size());
    }
    return true;
}

void LocalTree::ReadHeads(std::span<const u32> ids, const std::function<void(const FoundHead& found)>& use)
{
    if (!asked) {
        FindFirstTime(ids, [&](const FolderHandle& folder, const std::string& category, const std::string& file) {
            std::string_view text;
            if (folder.Read(file.c_str(), longestRecord, buffer, text) && ReadRecordHead(text, head))
                use({LeadingHex(file), category, file, head.discId, head.frameOffsets, text});
            return true;
        });
        return;
    }
    if (keptOffsets.size() > mostKeptOffsets)
        Forget();
    FindInIndex(ids, [&](const Category& category, std::size_t place, const std::string& file) {
        KeptHead kept;
        std::string_view text;
        if (HeadOf(category, place, file, kept, text) && kept.offsets > 0)
            use({IdOf(index[place]), category.name, file, kept.recordId,
                 std::span(keptOffsets).subspan(kept.firstOffset, kept.offsets), text});
        return true;
    });
}

bool LocalTree::ReadText(const FoundHead& found, std::string_view& text)
{
    const auto known = std::find_if(categories.begin(), categories.end(),
                                    [&](const Category& each) { return each.name == found.category; });
    if (known != categories.end())
        return known->folder.IsOpen() && known->folder.Read(found.file.c_str(), longestRecord, buffer, text);
    const std::string file = found.category + pathSeparator + found.file;
    return OpenRoot() && root.Read(file.c_str(), longestRecord, buffer, text);
}

void LocalTree::ReadFiles(std::span<const u32> ids, const Use& use)
{
    const auto read = [&](const FolderHandle& folder, const std::string& category, const std::string& file) {
        std::string_view text;
        return !folder.Read(file.c_str(), longestRecord, buffer, text) || use({LeadingHex(file), category, text});
    };
    if (!asked)
        return FindFirstTime(ids, read);
    FindInIndex(ids, [&](const Category& category, std::size_t, const std::string& file) {
        return read(category.folder, category.name, file);
    });
}

void LocalTree::ReadRanges(std::span<const u32> ids, const Use& use)
{
    asked = true;
    if (!UpdateIndex())
        return;
    const auto isWanted = [&](u32 id) { return std::find(ids.begin(), ids.end(), id) != ids.end(); };
    bool go = true;
    for (const Category& category : categories) {
        for (const RangeFile& range : category.ranges) {
            const auto within = std::count_if(
                ids.begin(), ids.end(), [&](u32 id) { return id >> 24 >= range.first && id >> 24 <= range.last; });
            if (within == 0)
                continue;
            auto left = within; // an id has one record a file
            const std::string file = path + pathSeparator + category.name + pathSeparator + range.name;
            ReadRangeFile(file.c_str(), isWanted, [&](u32 id, std::string_view text) {
                go = use({id, category.name, text});
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
    for (const std::string& name : SubfoldersOf(path)) {
        if (SameWithoutCase(name, category))
            return path + pathSeparator + name;
    }
    return path + pathSeparator + category;
}

/// Written as the other names of its folder or of the tree, so that programs that know one spelling only find it.
std::string LocalTree::NameFor(const std::string& category, u32 id) const
{
    std::vector<std::string> folders{CategoryFolder(category)};
    const FolderHandle own(folders.front());
    if (own.IsOpen()) {
        for (const std::string& name : NamesByListing(own.Path(), std::span(&id, 1)))
            return name;
    }
    for (const std::string& name : SubfoldersOf(path))
        folders.push_back(path + pathSeparator + name);
    for (const std::string& place : folders) {
        const FolderHandle folder(place);
        bool known = false;
        const bool isSmall = folder.IsOpen() && IsSmallSpelling(folder, known);
        if (known)
            return NameOf(id, isSmall ? small : capital);
    }
    return NameOf(id, capital);
}

} // namespace NV
