// Range files: many records in one file, each behind a line "#FILENAME=9a0bed0d". See LocalTree.h.
#include "LocalTree.h"

#include "RecordReader.h"
#include "TextParts.h"
#include "audio/FileCalls.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace NV {
namespace {

constexpr std::string_view mark = "FILENAME=";
constexpr std::size_t readSize = 32 << 10; // larger ones make the heap grow and shrink with every file

/// Goes through the file with as much of it in memory as is needed.
class RangeReader {
public:
    explicit RangeReader(CFile& opened) : file(opened) {}

    void Run(const std::function<bool(u32)>& wanted, const std::function<bool(u32, std::string_view)>& use)
    {
        u32 id = 0;
        for (std::size_t line = 0; FindMark(line);) {
            if (record != none && !use(id, text.substr(record, line - record)))
                return;
            id = LeadingHex(text.substr(line + 1 + mark.size(), 8));
            record = wanted(id) ? line : none;
            scan = line + 1 + mark.size();
        }
        if (record != none)
            use(id, text.substr(record));
    }

private:
    /// Finds the next line that begins a record, with its whole id in memory.
    bool FindMark(std::size_t& line)
    {
        for (;;) {
            const std::size_t at = text.find(mark, scan);
            if (at == none) {
                // The end may be a part of a mark; it is told by the two characters in front of it.
                scan = std::max(scan, text.size() - std::min(text.size(), mark.size()));
                if (!More())
                    return false;
            } else if (at == 0 || text[at - 1] != '#' || (at > 1 && text[at - 2] != '\n')) {
                scan = at + mark.size();
            } else if (scan = at; text.size() >= at + mark.size() + 8 || !More()) {
                line = scan - 1;
                return true;
            }
        }
    }

    /// Reads the next piece; what is looked at already and belongs to no wanted record makes room for it.
    bool More()
    {
        if (record != none && text.size() - record > longestRecord)
            record = none; // no record is as long
        const std::size_t dropped = record != none ? record : scan > 2 ? scan - 2 : 0;
        const std::size_t kept = text.size() - dropped;
        if (dropped > 0)
            std::memmove(buffer.data(), buffer.data() + dropped, kept);
        scan -= dropped;
        if (record != none)
            record = 0;
        if (buffer.size() < kept + readSize)
            buffer.resize(kept + readSize);
        const UINT got = file.Read(buffer.data() + kept, static_cast<UINT>(readSize));
        text = std::string_view(buffer.data(), kept + got);
        return got > 0;
    }

    static constexpr std::size_t none = std::string_view::npos;
    CFile& file;
    std::vector<char> buffer;
    std::string_view text;     // the part of the buffer that is filled
    std::size_t scan = 0;      // everything in front was looked at
    std::size_t record = none; // where the wanted record begins that is gone through
};

} // namespace

bool ReadRangeFile(const char* path, const std::function<bool(u32)>& wanted,
                   const std::function<bool(u32, std::string_view)>& use)
{
    return Succeeds([&] {
        CFile file(path, CFile::modeRead | CFile::shareDenyNone);
        RangeReader(file).Run(wanted, use);
    });
}

} // namespace NV
