// See RecordReader.h.
#include "RecordReader.h"

#include "TextParts.h"

#include <algorithm>

namespace NV {
namespace {

constexpr std::size_t mostOffsets = 99;
constexpr i32 highestTrack = 99;

bool TakeStart(std::string_view& text, std::string_view start)
{
    if (text.substr(0, start.size()) != start)
        return false;
    text.remove_prefix(start.size());
    return true;
}

/// Undoes the escapes of the format; any other backslash is itself.
CString Unescaped(std::string_view text)
{
    if (text.find('\\') == std::string_view::npos)
        return ToCString(text);
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char next = text[i] == '\\' && i + 1 < text.size() ? text[i + 1] : '\0';
        if (next == 'n' || next == 't' || next == '\\') {
            plain += next == 'n' ? '\n' : next == 't' ? '\t' : '\\';
            ++i;
        } else {
            plain += text[i];
        }
    }
    return ToCString(plain);
}

/// Artist and title have a slash with blanks around it between them. An artist may have a bare one in the name; without
/// any other that one parts the two, and without any at all the text is both.
void SplitDiscTitle(std::string_view text, CString& artist, CString& title)
{
    std::size_t slash = text.find(" / ");
    slash = slash == std::string_view::npos ? text.find('/') : slash + 1;
    artist = Unescaped(TrimmedBlanks(text.substr(0, slash)));
    title = slash == std::string_view::npos ? artist : Unescaped(TrimmedBlanks(text.substr(slash + 1)));
}

/// A value that may come in several lines. Most come in one, which is not copied.
class JoinedValue {
public:
    void operator+=(std::string_view part)
    {
        if (first.empty()) {
            first = part;
            return;
        }
        if (joined.empty())
            joined = first;
        joined += part;
    }
    std::string_view Text() const { return joined.empty() ? first : joined; }

private:
    std::string_view first;
    std::string joined;
};

/// Takes the lines of a text that outlives it.
class RecordReader {
public:
    explicit RecordReader(CCDDBRecord& filled) : record(filled) {}

    void ParseLine(std::string_view line)
    {
        if (line.empty() || line.front() != '#')
            ParseKeywordLine(line);
        else if (!headerOver)
            ParseCommentLine(line.substr(1));
    }

    /// Nothing that follows can change whether the record is valid, nor its id and offsets.
    bool KnowsHead() const { return headerOver && seenTitle && TrimmedBlanks(discId.Text()).size() > 7; }
    bool IsValid() const
    {
        const std::string_view id = TrimmedBlanks(discId.Text());
        const bool hasId = id.size() > 7 && DiscIdOf(id.substr(0, 8)).has_value();
        return seenHeader && !record.frameOffsets.empty() && seenLength && seenClient && hasId && seenTitle;
    }
    u32 DiscId() const { return LeadingHex(TrimmedBlanks(discId.Text())); }

    bool Finish()
    {
        if (!IsValid())
            return false;
        record.discId = DiscId();
        record.clientName = ToCString(clientName);
        record.clientVersion = ToCString(clientVersion);
        record.clientComment = ToCString(clientComment);
        SplitDiscTitle(discTitle.Text(), record.artist, record.title);
        record.year = LeadingNumber(year.Text()).value_or(0);
        record.genre = Unescaped(genre.Text());
        record.extendedData = Unescaped(extended.Text());
        record.playOrder = Unescaped(playOrder.Text());
        const std::size_t tracks = std::max(titles.size(), extendedTracks.size());
        titles.resize(tracks);
        extendedTracks.resize(tracks);
        record.trackTitles.reserve(tracks);
        record.extendedTrackData.reserve(tracks);
        for (std::size_t i = 0; i < tracks; ++i) {
            record.trackTitles.push_back(Unescaped(titles[i].Text()));
            record.extendedTrackData.push_back(Unescaped(extendedTracks[i].Text()));
        }
        return true;
    }

private:
    void ParseCommentLine(std::string_view text)
    {
        text = TrimmedBlanks(text);
        if (text.empty())
            return;
        std::string_view rest;
        if (inOffsets && text.front() >= '0' && text.front() <= '9') { // most lines of a header
            const auto offset = LeadingNumber(text, &rest);
            if (rest.empty() && record.frameOffsets.size() < mostOffsets)
                record.frameOffsets.push_back(*offset);
        } else if (TakeStart(text, "xmcd")) {
            seenHeader = true;
        } else if (TakeStart(text, "Track frame offsets:")) {
            inOffsets = true;
        } else if (TakeStart(text, "Disc length:")) {
            inOffsets = false;
            const auto seconds = LeadingNumber(text);
            seenLength = seenLength || seconds;
            record.discLength = seconds.value_or(record.discLength);
        } else if (TakeStart(text, "Revision:")) {
            record.revision = LeadingNumber(text).value_or(0);
        } else if (TakeStart(text, "Submitted via:")) {
            ParseClient(TrimmedBlanks(text));
        }
    }

    void ParseClient(std::string_view text)
    {
        clientName = TakeWord(text);
        clientVersion = TakeWord(text);
        clientComment = text;
        seenClient = !clientVersion.empty();
    }

    void ParseKeywordLine(std::string_view line)
    {
        const std::size_t equals = line.find('=');
        if (equals == std::string_view::npos)
            return;
        headerOver = true;
        std::string_view key = line.substr(0, equals);
        const std::string_view value = line.substr(equals + 1);
        if (TakeStart(key, "TTITLE")) {
            AddToTrack(titles, key, value);
        } else if (TakeStart(key, "EXTT")) {
            AddToTrack(extendedTracks, key, value);
        } else if (key == "DISCID") {
            discId += value;
        } else if (key == "DTITLE") {
            discTitle += value;
            seenTitle = true;
        } else if (key == "DYEAR") {
            year += value;
        } else if (key == "DGENRE") {
            genre += value;
        } else if (key == "EXTD") {
            extended += value;
        } else if (key == "PLAYORDER") {
            playOrder += value;
        }
    }

    void AddToTrack(std::vector<JoinedValue>& tracks, std::string_view number, std::string_view value) const
    {
        std::string_view rest;
        const auto track = LeadingNumber(number, &rest);
        if (!track || !rest.empty() || *track > highestTrack)
            return;
        const std::size_t index = static_cast<std::size_t>(*track);
        if (tracks.empty())
            tracks.reserve(record.frameOffsets.size());
        if (index >= tracks.size())
            tracks.resize(index + 1);
        tracks[index] += value;
    }

    CCDDBRecord& record;
    bool seenHeader = false, seenLength = false, seenClient = false, seenTitle = false;
    bool inOffsets = false, headerOver = false;
    std::string_view clientName, clientVersion, clientComment;
    JoinedValue discId, discTitle, year, genre, extended, playOrder; // escapes still in place
    std::vector<JoinedValue> titles, extendedTracks;
};

} // namespace

bool ReadRecord(std::string_view text, CCDDBRecord& record)
{
    record = CCDDBRecord();
    RecordReader reader(record);
    // Line ends may be mixed: a server puts its own around what a client once sent.
    for (std::string_view line; TakeLine(text, line);)
        reader.ParseLine(line);
    if (reader.Finish())
        return true;
    record = CCDDBRecord();
    return false;
}

bool ReadRecordHead(std::string_view text, RecordHead& head)
{
    CCDDBRecord record;
    record.frameOffsets.swap(head.frameOffsets); // for its memory
    record.frameOffsets.clear();
    RecordReader reader(record);
    for (std::string_view line; !reader.KnowsHead() && TakeLine(text, line);)
        reader.ParseLine(line);
    const bool valid = reader.IsValid();
    head.discId = reader.DiscId();
    head.frameOffsets.swap(record.frameOffsets);
    return valid;
}

} // namespace NV
