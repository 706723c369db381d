// CMP3Info: the walk over the frames and the tag. MP3Tables.cpp has what the header's fields stand for.
#include "MP3Info.h"

#include "FileCalls.h"
#include "FileReplace.h"
#include "MP3Tables.h"
#include "Rounding.h"
#include "StreamWindow.h"
#include "WholeFile.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <vector>

using namespace NV;

namespace {

constexpr int mostSteps = 100000; // of one byte, in search of a header
constexpr i64 tagBytes = sizeof(MP3ID3V1TAG);
constexpr int commentBytes = 30, shortCommentBytes = 28; // without and with a track number behind it

/// The last bytes of a file, when they are a tag.
bool ReadTag(CFile& file, MP3ID3V1TAG& tag)
{
    i64 got = 0;
    const bool read = Succeeds([&] {
        file.Seek(-tagBytes, CFile::end); // fails in a shorter file
        ReadBytes(file, &tag, tagBytes, got);
    });
    return read && got == tagBytes && std::memcmp(tag.id, "TAG", sizeof(tag.id)) == 0;
}

CString TextOf(const char* field, std::size_t width)
{
    return {field, static_cast<int>(std::find(field, field + width, '\0') - field)};
}

void StoreText(char* field, std::size_t width, const CString& text)
{
    std::memcpy(field, text.GetString(), std::min(width, static_cast<std::size_t>(text.GetLength())));
}

void CopyBytes(CFile& from, CFile& to, i64 count)
{
    constexpr i64 pieceBytes = 256 << 10;
    std::vector<u8> piece(static_cast<std::size_t>(std::min(count, pieceBytes)));
    while (count > 0) {
        i64 got = 0;
        ReadBytes(from, piece.data(), std::min(count, pieceBytes), got);
        if (got == 0) // somebody has cut the file meanwhile
            AfxThrowFileException(CFileException::endOfFile);
        WriteBytes(to, piece.data(), got);
        count -= got;
    }
}

} // namespace

void CMP3Info::Clear()
{
    *this = CMP3Info();
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): applications rely on this signature
int CMP3Info::Open(CString path)
{
    Clear();
    CFile file;
    if (!file.Open(path, CFile::modeRead | CFile::shareDenyWrite | CFile::osSequentialScan))
        return 0;
    StreamWindow stream(file);
    WalkFrames(&stream);
    if (MP3ID3V1TAG tag; ReadTag(file, tag))
        TakeTag(tag);
    fileName = path;
    return 1;
}

// ---- Frames --------------------------------------------------------------------------------------------------------

void CMP3Info::ChangeEndian(void* bytes, int count)
{
    if (bytes == nullptr || count < 2)
        return;
    u8* const first = static_cast<u8*>(bytes);
    std::reverse(first, first + count);
}

/// `file` is a StreamWindow, left behind the header that was found. Nothing but the sync is tested.
bool CMP3Info::GetNextFrameHeader(void* file, MP3FRAMEHEADER* header, int skip)
{
    StreamWindow& stream = *static_cast<StreamWindow*>(file);
    stream.position += std::max(skip, 0);
    for (int steps = 0; steps <= mostSteps; ++steps, ++stream.position) {
        const u8* const bytes = stream.Bytes(sizeof(header->bits));
        if (bytes == nullptr)
            return false;
        std::memcpy(&header->bits, bytes, sizeof(header->bits));
        ChangeEndian(&header->bits, sizeof(header->bits));
        if (header->HasSync()) {
            stream.position += sizeof(header->bits);
            return true;
        }
    }
    return false;
}

void CMP3Info::TakeFirstFrame(const MP3FRAMEHEADER& header)
{
    mpegVersion = MPEGVersionCode(header);
    mpegLayer = MPEGLayerCode(header);
    protection = static_cast<i32>(header.Protection());
}

/// `file` is a StreamWindow at its start.
void CMP3Info::WalkFrames(void* file)
{
    const FrameKind* kinds = nullptr;
    i64 frames = 0, sum = 0;
    double seconds = 0;
    int skip = 0;
    for (MP3FRAMEHEADER header; GetNextFrameHeader(file, &header, skip);) {
        if (frames == 0) {
            TakeFirstFrame(header);
            kinds = FrameKinds(mpegVersion, mpegLayer);
        }
        const FrameKind& kind = kinds[KindIndex(header)];
        if (kind.rate < 1)
            continue;     // Kept as is: leaps as far as after the last frame, from behind this header.
        sum += kind.rate; // Kept as is: also of a frame that ends the walk, as it always was in the average.
        sampleRate = kind.sampleRate;
        if (sampleRate == 0)
            break;
        channelMode = static_cast<ENCHANNELMODE>(header.ChannelMode());
        copyright = static_cast<i32>(header.Copyright());
        original = static_cast<i32>(header.Original());
        emphasis = static_cast<ENEMPHASIS>(header.Emphasis());
        ++frames;
        seconds += kind.seconds;
        skip = kind.bytes - static_cast<int>(sizeof(header.bits));
    }
    if (frames == 0)
        return;
    validity |= validFrames;
    numFrames = static_cast<i32>(std::min<i64>(frames, INT_MAX));
    bitRate = static_cast<i32>(sum / frames);
    length = static_cast<u32>(std::min<i64>(RoundToInt64(seconds), UINT_MAX));
}

// ---- The tag -------------------------------------------------------------------------------------------------------

void CMP3Info::TakeTag(const MP3ID3V1TAG& tag)
{
    title = TextOf(tag.title, sizeof(tag.title));
    artist = TextOf(tag.artist, sizeof(tag.artist));
    album = TextOf(tag.album, sizeof(tag.album));
    year = TextOf(tag.year, sizeof(tag.year));
    const bool hasTrack = tag.comment[shortCommentBytes] == '\0';
    comment = TextOf(tag.comment, static_cast<std::size_t>(hasTrack ? shortCommentBytes : commentBytes));
    if (hasTrack) {
        track = static_cast<u8>(tag.comment[shortCommentBytes + 1]);
        genreIndex = tag.genre;
    }
    validity |= validTag;
}

/// `tag` holds what stands in the file, zeros when nothing does.
void CMP3Info::FillTag(MP3ID3V1TAG& tag) const
{
    const auto byte = [](int value, int otherwise) {
        return static_cast<u8>(value >= 0 && value <= 255 ? value : otherwise);
    };
    const u8 number = byte(track, 0), genre = byte(genreIndex, 255);
    const bool fullComment = number == 0 && comment.GetLength() > shortCommentBytes;
    const bool keepGenre = fullComment && genre == 255 && tag.id[0] != '\0';
    MP3ID3V1TAG filled{};
    std::memcpy(filled.id, "TAG", sizeof(filled.id));
    StoreText(filled.title, sizeof(filled.title), title);
    StoreText(filled.artist, sizeof(filled.artist), artist);
    StoreText(filled.album, sizeof(filled.album), album);
    StoreText(filled.year, sizeof(filled.year), year);
    StoreText(filled.comment, static_cast<std::size_t>(fullComment ? commentBytes : shortCommentBytes), comment);
    if (!fullComment)
        filled.comment[shortCommentBytes + 1] = static_cast<char>(number);
    filled.genre = keepGenre ? tag.genre : genre;
    tag = filled;
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): applications rely on this signature
int CMP3Info::WriteID3V1(CString path, int operation) const
{
    if ((operation != writeTag && operation != removeTag) || !IsPlainFile(path))
        return 0;
    WholeFile file;
    if (!file.Create(path))
        return 0;
    MP3ID3V1TAG old{}, tag{};
    const bool hadTag = ReadTag(file.Before(), old);
    if (hadTag)
        tag = old;
    if (operation == writeTag)
        FillTag(tag);
    if (operation == removeTag ? !hadTag : hadTag && std::memcmp(&old, &tag, sizeof(tag)) == 0)
        return 1; // it is so already
    const bool written = Succeeds([&] {
        const i64 kept = static_cast<i64>(file.Before().GetLength()) - (hadTag ? tagBytes : 0);
        file.Before().SeekToBegin();
        CopyBytes(file.Before(), file.Bytes(), kept);
        if (operation == writeTag)
            WriteBytes(file.Bytes(), &tag, tagBytes);
        file.Bytes().Flush(); // before it takes the place of the only copy
    });
    return written && file.Commit() ? 1 : 0;
}

// ---- Texts ---------------------------------------------------------------------------------------------------------

CString CMP3Info::GetGenreString(int index)
{
    return GenreName(index);
}

CString CMP3Info::GetLengthString(unsigned seconds)
{
    CString text;
    text.Format("%d:%02d", static_cast<int>(seconds / 60), static_cast<int>(seconds % 60));
    return text;
}
