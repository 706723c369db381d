// Dividing, indexing and joining: see MP3Stretches.h.
#include "MP3Stretches.h"

#include "FileCalls.h"
#include "FileReplace.h"
#include "MP3OutFile.h"
#include "MP3Tables.h"
#include "WholeFile.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>

namespace NV {
namespace {

// MP3 frames. The encoder has long forgotten its start by the first place where a joint is tried.
constexpr i64 encoderLead = 256;
constexpr i64 tryOver = 128;
constexpr i64 tail = 8;
constexpr i64 shortest = 1024;
// With a constant bit rate some frames are a byte longer, in a pattern that at 44,100, 22,050 and 11,025 Hz repeats
// after this many frames at the latest, and is none at other rates. Stretches begin where it does, or their frames
// would never be the same.
constexpr i64 paddingPeriod = 49;

constexpr std::size_t readAtOnce = 256 << 10;
constexpr std::size_t frameHeadBytes = 8; // of a frame: as much as tells all that is asked here

/// One frame in its file.
struct Frame {
    i64 at = 0;
    int bytes = 0;
    int mainData = 0; // where it begins in the frame, behind header and side information
    int back = 0;     // of main data, how far in front of that this frame's own begins
    int RoomBytes() const { return bytes - mainData; }
};

u32 LoadBE32(const u8* from)
{
    return u32{from[0]} << 24 | u32{from[1]} << 16 | u32{from[2]} << 8 | from[3];
}
void StoreBE(u8* to, u64 value, int bytes)
{
    for (int k = bytes - 1; k >= 0; --k, value >>= 8)
        to[k] = static_cast<u8>(value);
}

int SideBytes(const MP3FRAMEHEADER& header)
{
    const bool mono = header.ChannelMode() == 3;
    return header.Version() == 3 ? (mono ? 17 : 32) : (mono ? 9 : 17);
}

/// From the first bytes of a frame; false when they are none of Layer III.
bool ReadFrameHead(const u8* head, Frame& frame)
{
    const MP3FRAMEHEADER header{LoadBE32(head)};
    if (!header.HasSync() || header.Layer() != 1)
        return false;
    const int start = header.Protection() ? 4 : 6;
    frame.bytes = StandardFrame(header).bytes;
    frame.mainData = start + SideBytes(header);
    frame.back = header.Version() == 3 ? head[start] << 1 | head[start + 1] >> 7 : head[start];
    return frame.bytes >= frame.mainData;
}

/// The frames of one stretch's file, which is open while this stands. File calls throw.
class FrameFile {
public:
    /// False when the file is no row of frames.
    bool Open(const std::string& path)
    {
        if (!file.Open(path.c_str(), CFile::modeRead | CFile::shareDenyWrite))
            return false;
        const i64 length = static_cast<i64>(file.GetLength());
        std::vector<u8> piece(readAtOnce);
        i64 pieceAt = 0, pieceSize = 0;
        for (i64 at = 0; at < length;) {
            Frame frame;
            if (at + i64{frameHeadBytes} > pieceAt + pieceSize) {
                file.Seek(at, CFile::begin);
                pieceAt = at;
                pieceSize = file.Read(piece.data(), static_cast<UINT>(piece.size()));
            }
            if (pieceSize - (at - pieceAt) < i64{frameHeadBytes} ||
                !ReadFrameHead(piece.data() + (at - pieceAt), frame) || frame.bytes > length - at)
                return false;
            frame.at = at;
            all.push_back(frame);
            at += frame.bytes;
        }
        return TakeTag();
    }
    i64 Count() const { return static_cast<i64>(all.size()) - HasTag(); }
    /// Frame `index` of the sound.
    const Frame& At(i64 index) const { return all[static_cast<std::size_t>(index + HasTag())]; }
    bool HasTag() const { return tagAt != 0; }
    /// The first frame, and where in it the tag begins.
    const Frame& TagFrame() const { return all.front(); }
    int TagAt() const { return tagAt; }
    std::vector<u8> Read(i64 at, i64 count)
    {
        std::vector<u8> bytes(static_cast<std::size_t>(count));
        file.Seek(at, CFile::begin);
        if (file.Read(bytes.data(), static_cast<UINT>(count)) != static_cast<UINT>(count))
            AfxThrowFileException(CFileException::endOfFile);
        return bytes;
    }
    /// The last `count` bytes of main data in front of frame `index`.
    std::vector<u8> MainDataBefore(i64 index, int count)
    {
        std::vector<u8> bytes;
        while (count > 0 && index > 0) {
            const Frame& frame = At(--index);
            const int taken = std::min(count, frame.RoomBytes());
            const std::vector<u8> part = Read(frame.at + frame.bytes - taken, taken);
            bytes.insert(bytes.begin(), part.begin(), part.end());
            count -= taken;
        }
        return bytes;
    }

private:
    bool TakeTag()
    {
        if (all.empty())
            return false;
        const std::vector<u8> first = Read(0, all.front().bytes);
        const int side = SideBytes(MP3FRAMEHEADER{LoadBE32(first.data())});
        const auto at = static_cast<std::size_t>(4 + side);
        constexpr std::size_t tagBytes = 156;
        if (first.size() >= at + tagBytes &&
            (std::memcmp(&first[at], "Xing", 4) == 0 || std::memcmp(&first[at], "Info", 4) == 0))
            tagAt = static_cast<int>(at);
        return true;
    }

    CFile file;
    std::vector<Frame> all;
    int tagAt = 0; // 0: none
};

/// Where one stretch gives way to the next, as a frame of each.
struct Place {
    i64 before = 0, after = 0;
};

/// From the wanted place backwards: where both frames are the same, else where the later one's data fits into room that
/// the earlier one's would have had.
std::optional<Place> FindPlace(FrameFile& before, FrameFile& after, const MP3Stretch& a, const MP3Stretch& b)
{
    std::optional<Place> fitting;
    for (i64 joint = b.joint; joint > b.joint - tryOver; --joint) {
        const Place place{joint - a.fromFrame, joint - b.fromFrame};
        if (place.before <= 0 || place.before >= before.Count() || place.after <= 0 || place.after >= after.Count())
            continue;
        const Frame& old = before.At(place.before);
        const Frame& next = after.At(place.after);
        if (old.bytes == next.bytes && old.back == next.back &&
            before.Read(old.at, old.bytes) == after.Read(next.at, next.bytes))
            return place;
        if (!fitting && next.back <= old.back)
            fitting = place;
    }
    return fitting;
}

/// The stream that is being made. File calls throw.
class JoinedStream {
public:
    explicit JoinedStream(CFile& to) : file(to) {}

    void AppendTag(FrameFile& from)
    {
        tagFrame = from.Read(0, from.TagFrame().bytes);
        tagAt = static_cast<std::size_t>(from.TagAt());
        file.Write(tagFrame.data(), static_cast<UINT>(tagFrame.size()));
    }
    void Append(FrameFile& from, i64 begin, i64 end)
    {
        const i64 source = from.At(begin).at;
        const i64 length = from.At(end - 1).at + from.At(end - 1).bytes - source;
        const i64 base = static_cast<i64>(file.GetPosition());
        for (i64 index = begin; index < end; ++index) {
            frames.push_back(from.At(index));
            frames.back().at += base - source;
        }
        for (i64 done = 0; done < length;) {
            const std::vector<u8> piece = from.Read(source + done, std::min<i64>(readAtOnce, length - done));
            file.Write(piece.data(), static_cast<UINT>(piece.size()));
            done += static_cast<i64>(piece.size());
        }
    }
    /// Puts bytes over the last main data so far.
    void ReplaceMainData(const std::vector<u8>& bytes)
    {
        std::size_t left = bytes.size();
        for (auto frame = frames.rbegin(); left > 0 && frame != frames.rend(); ++frame) {
            const std::size_t now = std::min(left, static_cast<std::size_t>(frame->RoomBytes()));
            left -= now;
            file.Seek(frame->at + frame->bytes - static_cast<i64>(now), CFile::begin);
            file.Write(bytes.data() + left, static_cast<UINT>(now));
        }
        file.SeekToEnd();
    }
    /// Brings the first frame up to date: counts, index, sums. `padding` is of the last stretch.
    void Finish(FrameFile& last);

private:
    u16 SumOfFrames();

    CFile& file;
    std::vector<Frame> frames;
    std::vector<u8> tagFrame; // empty: none
    std::size_t tagAt = 0;
};

/// The sum that the tag has of the stream and of itself.
u16 Sum16(const u8* bytes, std::size_t count, u16 sum)
{
    static const std::array<u16, 256> table = [] {
        std::array<u16, 256> made{};
        for (unsigned k = 0; k < 256; ++k) {
            unsigned value = k;
            for (int bit = 0; bit < 8; ++bit)
                value = value & 1 ? value >> 1 ^ 0xA001 : value >> 1;
            made[k] = static_cast<u16>(value);
        }
        return made;
    }();
    for (; count > 0; --count, ++bytes)
        sum = static_cast<u16>(sum >> 8 ^ table[(sum ^ *bytes) & 0xFF]);
    return sum;
}

u16 JoinedStream::SumOfFrames()
{
    std::vector<u8> piece(readAtOnce);
    u16 sum = 0;
    file.Seek(static_cast<i64>(tagFrame.size()), CFile::begin);
    while (const UINT got = file.Read(piece.data(), static_cast<UINT>(piece.size())))
        sum = Sum16(piece.data(), got, sum);
    return sum;
}

void JoinedStream::Finish(FrameFile& last)
{
    if (tagFrame.empty() || !last.HasTag())
        return;
    // Offsets in the tag: 8 frames, 12 bytes, 16 index, 116 quality, 141 delay and padding, 148 bytes, 152 and 154
    // sums.
    u8* const tag = tagFrame.data() + tagAt;
    const u64 length = file.GetLength();
    StoreBE(tag + 8, frames.size(), 4);
    StoreBE(tag + 12, length, 4);
    for (std::size_t k = 0; k < 100; ++k) {
        const auto at = static_cast<u64>(frames[frames.size() * k / 100].at);
        tag[16 + k] = static_cast<u8>(std::min<u64>(at * 256 / length, 255));
    }
    // Delay of the first stretch, padding of the last one: twelve bits each.
    const std::vector<u8> lastFrame = last.Read(0, last.TagFrame().bytes);
    const u8* const lastTag = lastFrame.data() + last.TagAt();
    tag[142] = static_cast<u8>((tag[142] & 0xF0) | (lastTag[142] & 0x0F));
    tag[143] = lastTag[143];
    StoreBE(tag + 148, length, 4);
    StoreBE(tag + 152, SumOfFrames(), 2);
    StoreBE(tag + 154, Sum16(tagFrame.data(), tagAt + 154, 0), 2);
    file.SeekToBegin();
    file.Write(tagFrame.data(), static_cast<UINT>(tagFrame.size()));
}

/// The MP3 frames that the encoder makes of such sound; no samples when that cannot be told.
MPEGFrame ProbeFrame(const CSoundFile& sound, const BE_CONFIG& config, const std::string& path)
{
    CMP3OutFile probe;
    probe.SetParameters(config);
    probe.SetFormat(sound.GetFormat());
    CFile file;
    u8 head[4];
    if (!probe.Open(path.c_str(), CFile::modeCreate | CFile::modeWrite) || !probe.Close() ||
        !file.Open(path.c_str(), CFile::modeRead) || !Succeeds([&] {
            if (file.Read(head, 4) < 4)
                AfxThrowFileException(CFileException::endOfFile);
        }))
        return {};
    return StandardFrame(MP3FRAMEHEADER{LoadBE32(head)});
}

} // namespace

// ---- Dividing ------------------------------------------------------------------------------------------------------

MP3Stretches::~MP3Stretches()
{
    for (const MP3Stretch& stretch : stretches)
        if (!stretch.path.empty())
            Succeeds([&] { CFile::Remove(stretch.path.c_str()); });
}

bool MP3Stretches::Plan(const CSoundFile& sound, const BE_CONFIG& config, const char* newTarget, int count)
{
    target = newTarget;
    stretches.assign(1, {});
    if (MakeTemporaryBeside(newTarget, stretches[0].path))
        return false;
    const MPEGFrame frame = ProbeFrame(sound, config, stretches[0].path);
    if (frame.samples == 0 || frame.sampleRate != sound.GetSamplesPerSec())
        return false;
    const i64 total = sound.GetLength() / frame.samples;
    count = static_cast<int>(std::min<i64>(count, total / shortest));
    if (count < 2)
        return false;
    stretches.resize(static_cast<std::size_t>(count));
    for (std::size_t k = 0; k < stretches.size(); ++k) {
        MP3Stretch& stretch = stretches[k];
        if (k > 0) {
            if (MakeTemporaryBeside(newTarget, stretch.path))
                return false;
            stretch.joint = total * static_cast<i64>(k) / count;
            stretch.fromFrame = (stretch.joint - encoderLead) / paddingPeriod * paddingPeriod;
            stretches[k - 1].toSample = (stretch.joint + tail) * frame.samples;
        }
        stretch.fromSample = stretch.fromFrame * frame.samples;
        stretch.toSample = sound.GetLength();
    }
    return true;
}

// ---- Joining -------------------------------------------------------------------------------------------------------

MP3Stretches::Joining MP3Stretches::Join()
{
    Joining result = Joining::failed;
    const bool calls = Succeeds([&] {
        std::vector<FrameFile> files(stretches.size());
        for (std::size_t k = 0; k < files.size(); ++k)
            if (!files[k].Open(stretches[k].path))
                return;
        WholeFile whole;
        if (!whole.Create(target.c_str()))
            return;
        JoinedStream stream(whole.Bytes());
        if (files[0].HasTag())
            stream.AppendTag(files[0]);
        i64 begin = 0;
        for (std::size_t k = 0; k + 1 < files.size(); ++k) {
            const auto place = FindPlace(files[k], files[k + 1], stretches[k], stretches[k + 1]);
            if (!place || place->before <= begin) {
                result = Joining::noPlace;
                return;
            }
            stream.Append(files[k], begin, place->before);
            stream.ReplaceMainData(files[k + 1].MainDataBefore(place->after, files[k + 1].At(place->after).back));
            begin = place->after;
        }
        stream.Append(files.back(), begin, files.back().Count());
        stream.Finish(files.back());
        if (whole.Commit())
            result = Joining::done;
    });
    return calls ? result : Joining::failed;
}

} // namespace NV
