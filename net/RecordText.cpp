// The text of a record, as it is submitted and stored.
#include "RecordText.h"

#include "TextParts.h"

#include <algorithm>
#include <string>

namespace NV {
namespace {

/// Servers refuse longer lines, the line end counted.
constexpr std::size_t longestLine = 256;

void ReplaceSubString(CString& text, const char* from, const char* to)
{
    text.Replace(from, to);
}

/// A value with what would end or bend its line written as escapes. The backslash comes first, or it would be doubled
/// in those of the others. The format has none for a carriage return.
CString PrepareTextForSubmit(CString text)
{
    ReplaceSubString(text, "\\", "\\\\");
    ReplaceSubString(text, "\n", "\\n");
    ReplaceSubString(text, "\t", "\\t");
    ReplaceSubString(text, "\r", "");
    return text;
}

/// How much of a value goes into one line: not through an escape, nor through a character of UTF-8.
std::size_t PieceLength(std::string_view value, std::size_t room)
{
    if (value.size() <= room)
        return value.size();
    std::size_t length = room;
    while (length > room / 2 && (static_cast<unsigned char>(value[length]) & 0xC0U) == 0x80)
        --length;
    std::size_t backslashes = 0;
    while (backslashes < length && value[length - 1 - backslashes] == '\\')
        ++backslashes;
    return length - backslashes % 2;
}

/// One keyword line, or several of the same key for a value that is too long for one.
CString FormSubmitLine(const CString& key, const CString& value)
{
    const CString prepared = PrepareTextForSubmit(value);
    const std::string_view all = ViewOf(prepared);
    const std::size_t room = longestLine - 3 - static_cast<std::size_t>(key.GetLength());
    CString lines;
    for (std::size_t at = 0; at == 0 || at < all.size();) {
        const std::size_t length = PieceLength(all.substr(at), room);
        lines.AppendFormat("%s=%s\r\n", key.GetString(), ToCString(all.substr(at, length)).GetString());
        at += length;
        if (length == 0)
            break;
    }
    return lines;
}

/// A client's name or version: one word, since the words of its line are told apart by blanks.
CString OneWord(CString text)
{
    for (int i = 0; i < text.GetLength(); ++i) {
        if (static_cast<unsigned char>(text[i]) <= ' ')
            text.SetAt(i, '_');
    }
    return text.IsEmpty() ? CString("_") : text;
}

CString OneLine(CString text)
{
    text.Replace('\r', ' ');
    text.Replace('\n', ' ');
    return text;
}

CString Numbered(const char* key, std::size_t number)
{
    CString text;
    text.Format("%s%d", key, static_cast<int>(number));
    return text;
}

} // namespace

CString RecordText(const CCDDBRecord& record, const CString& productName, const CString& productVersion)
{
    CString text = "# xmcd\r\n#\r\n# Track frame offsets:\r\n";
    for (const i32 offset : record.frameOffsets)
        text.AppendFormat("# %d\r\n", offset);
    text.AppendFormat("#\r\n# Disc length: %d seconds\r\n#\r\n", record.discLength);
    text.AppendFormat("#\r\n# Revision: %d\r\n", record.revision);
    text.AppendFormat("# Submitted via: %s %s %s", OneWord(productName).GetString(),
                      OneWord(productVersion).GetString(), OneLine(record.clientComment).GetString());
    text += "\r\n#\r\n";
    text.AppendFormat("DISCID=%08x\r\n", record.discId);
    text += FormSubmitLine("DTITLE", record.artist + " / " + record.title);
    if (record.year == 0)
        text += "DYEAR=\r\n";
    else
        text.AppendFormat("DYEAR=%04d\r\n", record.year);
    text += FormSubmitLine("DGENRE", record.genre);
    // Servers want a line for each track, also for those that nothing is known of.
    const std::size_t tracks =
        std::max({record.trackTitles.size(), record.extendedTrackData.size(), record.frameOffsets.size()});
    const auto lineOf = [](const char* key, std::size_t i, const std::vector<CString>& values) {
        return FormSubmitLine(Numbered(key, i), i < values.size() ? values[i] : CString());
    };
    for (std::size_t i = 0; i < tracks; ++i)
        text += lineOf("TTITLE", i, record.trackTitles);
    text += FormSubmitLine("EXTD", record.extendedData);
    for (std::size_t i = 0; i < tracks; ++i)
        text += lineOf("EXTT", i, record.extendedTrackData);
    text += FormSubmitLine("PLAYORDER", record.playOrder);
    return text;
}

} // namespace NV
