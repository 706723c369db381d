// A local database as a folder tree: which records it has, and their texts. A folder for each category holds records in
// files of their own ("9a0bed0d") or ranges of records in one file ("90to9F"); names match without case, folders come
// in sorted order.
//
// The first question is answered by asking for the names in question. From the second one on the names of all folders
// are kept, and a folder is listed again when its time changes. One thread at a time.
#pragma once

#include "CDDBTypes.h"
#include "FolderNames.h"
#include "NVTypes.h"
#include "RecordReader.h"

#include <array>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace NV {

/// The ids that a disc may stand under when up to 16 is wrong with the sum in its first byte, from -16 to 16.
std::array<u32, 33> CandidateIds(u32 discId);

class LocalTree {
public:
    explicit LocalTree(std::string folder) : path(std::move(folder)) {}
    const std::string& Root() const { return path; }

    /// A record that was found. `id` is the one that it stands under, which need not be the one inside of it.
    struct Found {
        u32 id;
        const std::string& category;
        std::string_view text;
    };
    /// Returns false to stop.
    using Use = std::function<bool(const Found& found)>;
    /// The same of a valid record's head; `file` is the record's file in the category's folder.
    struct FoundHead {
        u32 id;
        const std::string& category;
        const std::string& file;
        u32 recordId; ///< The one inside of it.
        std::span<const i32> frameOffsets;
        std::string_view text = {}; ///< The whole record when it has just been read.
    };

    /// Judges the records of these ids that have files of their own, folder by folder and in each in the order of the
    /// ids. All ids have their last three bytes in common. Heads that were read are kept until a folder changes, which
    /// does not tell of files that are written over in place: see `Forget`.
    void ReadHeads(std::span<const u32> ids, const std::function<void(const FoundHead& found)>& use);
    /// The whole text of one of them; it is valid until the next call of this object. False when it is there no longer.
    bool ReadText(const FoundHead& found, std::string_view& text);
    /// Has all heads read again, when a text turned out to be another than its head told.
    void Forget();

    /// Reads the records of these ids that have files of their own, folder by folder and in each in the order of the
    /// ids. All ids have their last three bytes in common.
    void ReadFiles(std::span<const u32> ids, const Use& use);
    /// The same for those in range files, as they come in each folder.
    void ReadRanges(std::span<const u32> ids, const Use& use);

    /// The name that a record of a category has or, when it is new, gets.
    std::string NameFor(const std::string& category, u32 id) const;
    /// The folder of a category, which may not be there yet.
    std::string CategoryFolder(const std::string& category) const;

private:
    /// How the letters of a name are written.
    enum Spelling : u8 { capital, small, mixed };
    struct RangeFile {
        std::string name;
        u8 first, last;
    };
    struct Category {
        explicit Category(std::string folderName) : name(std::move(folderName)) {}
        std::string name;
        FolderHandle folder;
        FileMoment changed;
        bool settled = false; // it cannot have changed since without its time telling
        std::vector<u64> entries;
        std::vector<RangeFile> ranges;
        std::vector<std::pair<u32, std::string>> mixedNames;
    };
    /// A head that was read once. Its offsets are in `keptOffsets`.
    struct KeptHead {
        u32 recordId;
        u32 firstOffset;
        u32 offsets; // 0: the record is not valid
    };
    /// What stands at a place of the index.
    using UseEntry = std::function<bool(const Category& category, std::size_t place, const std::string& file)>;

    static std::string NameOf(u32 id, Spelling spelling);
    static bool IsSmallSpelling(const FolderHandle& folder, bool& known);
    using UseFile =
        std::function<bool(const FolderHandle& folder, const std::string& category, const std::string& file)>;
    void FindFirstTime(std::span<const u32> ids, const UseFile& use);
    void FindInIndex(std::span<const u32> ids, const UseEntry& use);
    bool HeadOf(const Category& category, std::size_t place, const std::string& file, KeptHead& found,
                std::string_view& text);
    Spelling UsualSpelling(std::span<const std::string> folders) const;
    bool OpenRoot();
    bool UpdateIndex();
    void ListCategory(Category& category, const FileMoment& newChanged);
    void Merge();
    std::string IndexedName(const Category& category, u64 entry) const;

    std::string path;
    bool asked = false;
    FolderHandle root;
    FileMoment changed;
    bool settled = false;
    std::vector<Category> categories;
    std::vector<u64> index;   // all entries, sorted: last three bytes, folder, first byte, spelling
    std::vector<char> buffer; // for the record that is being read
    RecordHead head;          // the same, taken apart
    std::vector<u32> keptAt;  // for each entry of the index: which of the kept heads, counted from 1; 0 for none
    std::vector<KeptHead> keptHeads;
    std::vector<i32> keptOffsets;
};

/// Looks for records in a range file and calls `use` with the text of each that is wanted, until it returns false.
/// Reads no further than needed. False when the file cannot be read.
bool ReadRangeFile(const char* path, const std::function<bool(u32)>& wanted,
                   const std::function<bool(u32, std::string_view)>& use);

} // namespace NV
