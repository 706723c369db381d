// See MPEGAudio.h.
#include "MPEGAudio.h"

#include "MP3Tables.h"
#include "StreamWindow.h"

#include <algorithm>
#include <cstring>

using namespace NV;

namespace {

constexpr int mostTags = 8;             // ID3v2 tags one behind the other
constexpr i64 mostJunk = 64 << 10;      // bytes between them and the first frame
constexpr int enoughFrames = 3;         // in a row
constexpr u32 sameStream = 0xFFFE'0C00; // sync, version, layer and sample rate

u32 LoadBE(const u8* bytes, int count)
{
    u32 value = 0;
    for (int k = 0; k < count; ++k)
        value = value << 8 | bytes[k];
    return value;
}

bool ReadHeader(StreamWindow& stream, i64 at, MP3FRAMEHEADER& header)
{
    stream.position = at;
    const u8* const bytes = stream.Bytes(4);
    header.bits = bytes ? LoadBE(bytes, 4) : 0;
    return header.HasSync();
}

i64 SkipTags(StreamWindow& stream)
{
    constexpr int headBytes = 10;
    for (int tags = 0; tags < mostTags; ++tags) {
        const u8* const head = stream.Bytes(headBytes);
        if (head == nullptr || std::memcmp(head, "ID3", 3) != 0)
            break;
        i64 size = 0;
        for (int k = 6; k < headBytes; ++k)
            size = size << 7 | (head[k] & 0x7F);
        const bool hasFooter = (head[5] & 0x10) != 0;
        stream.position += headBytes + size + (hasFooter ? headBytes : 0);
    }
    return stream.position;
}

/// The audio ends here: with the file or with one of the tags that stand behind it.
bool IsEndOfAudio(StreamWindow& stream, i64 at)
{
    stream.position = at;
    const u8* const bytes = stream.Bytes(3);
    if (bytes == nullptr)
        return stream.position > 0 && (--stream.position, stream.Bytes(1) != nullptr); // not past the end
    const auto begins = [&](const char* id) { return std::memcmp(bytes, id, 3) == 0; };
    return begins("TAG") || begins("APE") || begins("LYR");
}

bool FramesFollow(StreamWindow& stream, i64 at)
{
    MP3FRAMEHEADER first, header;
    ReadHeader(stream, at, first);
    for (int frames = 0; frames < enoughFrames; ++frames) {
        const bool same = ReadHeader(stream, at, header) && ((header.bits ^ first.bits) & sameStream) == 0;
        const int bytes = same ? StandardFrame(header).bytes : 0;
        if (bytes == 0)
            return frames > 0 && IsEndOfAudio(stream, at);
        at += bytes;
    }
    return true;
}

/// Leaves the stream at the header. False when there is no such frame.
bool FindFirstFrame(StreamWindow& stream, MP3FRAMEHEADER& header)
{
    const i64 start = SkipTags(stream);
    stream.Forget(); // or the search might have to read pieces in turn
    for (i64 at = start; at <= start + mostJunk; ++at) {
        stream.position = at;
        if (stream.Bytes(4) == nullptr) // the end
            break;
        if (ReadHeader(stream, at, header) && FramesFollow(stream, at)) {
            stream.position = at;
            return true;
        }
    }
    return false;
}

/// "Xing" and "Info" stand behind the side information, "VBRI" at a fixed place.
bool ParseClaim(const u8* frame, const MP3FRAMEHEADER& header, MPEGVBRClaim& claim)
{
    constexpr int vbriAt = 36;
    constexpr u32 hasFrames = 1, hasBytes = 2;
    const bool mono = header.ChannelMode() == enSingleChannel, version1 = header.Version() == 3;
    const int side = version1 ? (mono ? 17 : 32) : (mono ? 9 : 17);
    for (const char* const kind : {"Xing", "Info"}) {
        const u8* at = frame + 4 + side;
        if (std::memcmp(at, kind, 4) != 0)
            continue;
        claim.kind = kind;
        const u32 flags = LoadBE(at + 4, 4);
        at += 8;
        if (flags & hasFrames) {
            claim.frames = LoadBE(at, 4);
            at += 4;
        }
        if (flags & hasBytes)
            claim.bytes = LoadBE(at, 4);
        return true;
    }
    if (std::memcmp(frame + vbriAt, "VBRI", 4) != 0)
        return false;
    claim.kind = "VBRI";
    claim.bytes = LoadBE(frame + vbriAt + 10, 4);
    claim.frames = LoadBE(frame + vbriAt + 14, 4);
    return true;
}

bool OpenStream(CFile& file, const CString& path)
{
    return file.Open(path, CFile::modeRead | CFile::shareDenyNone) != FALSE;
}

} // namespace

bool IsMPEGAudio(const CString& path)
{
    CFile file;
    if (!OpenStream(file, path))
        return false;
    StreamWindow stream(file);
    MP3FRAMEHEADER header;
    return FindFirstFrame(stream, header);
}

bool ReadVBRClaim(const CString& path, MPEGVBRClaim& claim)
{
    constexpr int headBytes = 64; // of a frame, as far as these headers are looked at
    claim = {};
    CFile file;
    if (!OpenStream(file, path))
        return false;
    StreamWindow stream(file);
    MP3FRAMEHEADER header;
    if (!FindFirstFrame(stream, header))
        return false;
    const u8* const frame = stream.Bytes(headBytes);
    if (frame == nullptr || !ParseClaim(frame, header, claim))
        return false;
    const MPEGFrame kind = StandardFrame(header);
    if (claim.frames)
        claim.seconds = double(*claim.frames) * kind.samples / kind.sampleRate;
    return true;
}
