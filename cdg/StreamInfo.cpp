// Telling a file's kind by its contents, and counting what a CD+G stream is made of. Bytes, sectors and packs.
#include "StreamInfo.h"

#include "CDGEmulator.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

constexpr int kMaxSectorsLooked = 1024; // 2.5 MB; a plain stream of 5:48 is seen whole

// No command, no instruction, no operands. The parity bytes do not matter: some encoders fill them with a constant.
bool IsEmptyPack(const u8* raw)
{
    constexpr int dataAt = 4, parityAt = 20;
    const auto isZero = [](u8 byte) { return (byte & kPackBits) == 0; };
    return std::all_of(raw, raw + 2, isZero) && std::all_of(raw + dataAt, raw + parityAt, isZero);
}

// Packs of one place by what they look like. Sound read as packs gives graphics once in five hundred.
struct Tally {
    int graphics = 0, empty = 0, other = 0;

    void Add(const u8* raw)
    {
        if ((raw[0] & kPackBits) == kCommandGraphics && CDGInstructionName(raw[1] & kPackBits))
            ++graphics;
        else if (IsEmptyPack(raw))
            ++empty;
        else
            ++other;
    }
    // At least one in `share` of the packs that are not empty is graphics, which leaves room for worn discs and for
    // other uses of the subcode.
    bool AreGraphics(int share) const { return graphics > 0 && graphics * share >= graphics + other; }
};

// How far the samples of 16-bit stereo jump from frame to frame, with the bytes taken in the right and in the wrong
// order. Sound moves in small steps one way and wildly the other way; nearly everything else is alike in both.
struct SoundSteps {
    u64 right = 0, swapped = 0;
    int samples = 0;

    static int Sample(const u8* low, const u8* high) { return static_cast<i16>(*low | *high << 8); }
    void Add(const u8* bytes, int count)
    {
        for (int at = 4; at + 1 < count; at += 2, ++samples) {
            const u8* now = bytes + at;
            const u8* before = now - 4;
            right += static_cast<u64>(std::abs(Sample(now, now + 1) - Sample(before, before + 1)));
            swapped += static_cast<u64>(std::abs(Sample(now + 1, now) - Sample(before + 1, before)));
        }
    }
    // A few samples say nothing; a sector is 1176 of them.
    bool AreSound() const { return samples >= 1000 && right < swapped / 2; }
};

// What a walk over a file, sector by sector, has met.
struct Look {
    Tally audioArea, subcode;   // packs in the first 2352 bytes of a sector, and in its last 96
    int soundBeforeSilence = 0; // sectors with a zero subcode right behind bytes that are not zero
    int subcodes = 0;
    SoundSteps steps;
    bool onlyZeros = true;

    void Add(const u8* bytes, int count)
    {
        onlyZeros = onlyZeros && std::all_of(bytes, bytes + count, [](u8 byte) { return byte == 0; });
        steps.Add(bytes, std::min(count, kSectorAudioSize));
        for (int at = 0; at + kPackSize <= count; at += kPackSize)
            (at < kSectorAudioSize ? audioArea : subcode).Add(bytes + at);
        if (count < kBinRecordSize)
            return;
        const u8* const behind = bytes + kSectorAudioSize;
        const auto isZero = [](u8 byte) { return byte == 0; };
        ++subcodes;
        soundBeforeSilence += std::all_of(behind, bytes + kBinRecordSize, isZero) &&
                              !std::all_of(behind - kCdgRecordSize, behind, isZero);
    }

    StreamKind Kind(ULONGLONG length) const
    {
        // The packs of a plain stream lie in both places, so its many places are asked first, and leniently; the four
        // packs of a short image have to be clear.
        if (audioArea.AreGraphics(8))
            return StreamKind::Graphics;
        if (subcode.AreGraphics(2))
            return StreamKind::DiscImage;
        // An image whose graphics are still to be written. Without packs it takes more to believe in.
        const bool blank = subcode.graphics == 0 && subcode.other == 0;
        if (blank && soundBeforeSilence >= (length % kBinRecordSize == 0 ? 2 : 16))
            return StreamKind::DiscImage;
        if (length % kSectorAudioSize == 0 && steps.AreSound())
            return StreamKind::AudioImage;
        return StreamKind::Unknown;
    }
};

Look LookAt(CFile& file, ULONGLONG length)
{
    Look look;
    std::vector<u8> sector(kBinRecordSize);
    const ULONGLONG sectors = (length + kBinRecordSize - 1) / kBinRecordSize;
    const ULONGLONG looked = std::min<ULONGLONG>(sectors, kMaxSectorsLooked);
    for (ULONGLONG i = 0; i < looked; ++i) {
        file.Seek(static_cast<LONGLONG>(i * sectors / looked * kBinRecordSize), CFile::begin);
        look.Add(sector.data(), static_cast<int>(file.Read(sector.data(), kBinRecordSize)));
    }
    return look;
}

bool IsKmaPackage(CFile& file)
{
    constexpr UINT headerSize = 256;
    constexpr int typeAt = 169;
    u8 bytes[headerSize + 4];
    file.Seek(0, CFile::begin);
    return file.Read(bytes, sizeof(bytes)) == sizeof(bytes) && bytes[typeAt] == 6 &&
           std::memcmp(bytes + headerSize, "PK\3\4", 4) == 0;
}

void Identify(CFile& file, StreamIdentity& identity)
{
    identity.length = file.GetLength();
    if (identity.length == 0) {
        identity.kind = StreamKind::Empty;
        return;
    }
    auto& head = identity.head;
    file.Seek(0, CFile::begin);
    file.Read(head.data(), static_cast<UINT>(head.size()));
    if (std::memcmp(head.data(), "RIFF", 4) == 0 && std::memcmp(head.data() + 8, "WAVE", 4) == 0) {
        identity.kind = StreamKind::Wave;
        return;
    }
    if (IsKmaPackage(file)) {
        identity.kind = StreamKind::KmaPackage;
        return;
    }
    const Look look = LookAt(file, identity.length);
    identity.kind = look.Kind(identity.length);
    identity.onlyZeros = look.onlyZeros;
    identity.looksLikeAudio = look.steps.AreSound();

    const int recordSize = StreamRecordSize(identity.kind);
    if (recordSize == 0)
        return;
    const Tally& packs = identity.kind == StreamKind::Graphics ? look.audioArea : look.subcode;
    identity.hasGraphics = identity.kind != StreamKind::AudioImage && packs.graphics > 0;
    identity.records = identity.length / static_cast<ULONGLONG>(recordSize);
    identity.restBytes = static_cast<int>(identity.length % static_cast<ULONGLONG>(recordSize));
}

// Watches the emulator and tells whether a pack changed what the screen shows.
class ChangeWatch {
public:
    explicit ChangeWatch(CDGEmulator::CCDGEmulator& watched) : emulator(watched), last(watched.ScreenIndexImage())
    {
        emulator.ClearModified();
    }

    // Call after each handled pack.
    bool Changed(int instruction)
    {
        bool changed = PixelsChanged();
        if (instruction == kLoadColours07 || instruction == kLoadColours8F)
            changed = PaletteChanged() || changed;
        if (instruction == kScrollPreset || instruction == kScrollCopy || instruction == kMemoryPreset)
            changed = SettingsChanged() || changed;
        return changed;
    }

private:
    bool PixelsChanged()
    {
        const CRect area = emulator.GetModified();
        emulator.ClearModified();
        const CDib& now = emulator.ScreenIndexImage();
        const size_t width = static_cast<size_t>(area.right - area.left);
        bool changed = false;
        for (int y = area.top; y < area.bottom; ++y) {
            u8* const before = last.GetRow(y) + area.left;
            const u8* const after = now.GetRow(y) + area.left;
            if (std::memcmp(before, after, width) == 0)
                continue;
            std::memcpy(before, after, width);
            changed = true;
        }
        return changed;
    }

    bool PaletteChanged()
    {
        bool changed = false;
        for (int i = 0; i < CDGEmulator::CCDGEmulator::colourCount; ++i) {
            const u32 colour = emulator.GetPaletteEntry(i);
            changed = changed || colour != palette[static_cast<size_t>(i)];
            palette[static_cast<size_t>(i)] = colour;
        }
        return changed;
    }

    bool SettingsChanged()
    {
        const std::array<int, 3> now{emulator.GetHorizontalOffset(), emulator.GetVerticalOffset(),
                                     emulator.GetBackgroundColour()};
        const bool changed = now != settings;
        settings = now;
        return changed;
    }

    CDGEmulator::CCDGEmulator& emulator;
    CDib last;
    std::array<u32, CDGEmulator::CCDGEmulator::colourCount> palette{}; // all black, as a fresh emulator has it
    std::array<int, 3> settings{};
};

class StreamCounter {
public:
    explicit StreamCounter(CDGStreamInfo& counts) : info(counts)
    {
        emulator.Init();
        watch.emplace(emulator);
        size_t row = 0;
        for (int code = 0; code <= kPackBits && row < info.instructions.size(); ++code)
            if (const char* name = CDGInstructionName(code))
                info.instructions[row++] = {static_cast<u8>(code), name, 0};
    }

    void Add(const u8* raw, int index)
    {
        if (raw[0] != kCommandGraphics) {
            ++(IsEmptyPack(raw) ? info.empty : info.otherCommands);
            return;
        }
        if (!info.firstGraphics)
            info.firstGraphics = index;
        const auto known = std::find_if(info.instructions.begin(), info.instructions.end(),
                                        [&](const auto& row) { return row.instruction == raw[1]; });
        if (known == info.instructions.end()) {
            ++info.otherGraphics;
            return;
        }
        ++known->packs;
        if (emulator.ProcessCommand(CCDGEmulatorPack(raw), -1, 0) && watch->Changed(raw[1]))
            info.lastChange = index;
    }

private:
    CDGStreamInfo& info;
    CDGEmulator::CCDGEmulator emulator;
    std::optional<ChangeWatch> watch; // after Init, which makes the first screen
};

} // namespace

bool IdentifyStream(CFile& file, StreamIdentity& identity, CFileException* error)
{
    identity = {};
    try {
        Identify(file, identity);
        return true;
    } catch (CFileException* failure) {
        if (error) {
            error->m_cause = failure->m_cause;
            error->m_lOsError = failure->m_lOsError;
            error->m_strFileName = failure->m_strFileName;
        }
        failure->Delete();
        return false;
    }
}

bool IdentifyStream(const char* name, StreamIdentity& identity, CFileException* error)
{
    CFile file;
    identity = {};
    return file.Open(name, CFile::modeRead | CFile::shareDenyNone, error) && IdentifyStream(file, identity, error);
}

const char* StreamKindName(StreamKind kind)
{
    switch (kind) {
    case StreamKind::Empty:
        return "empty file";
    case StreamKind::Wave:
        return "WAV sound";
    case StreamKind::Graphics:
        return "plain CD+G graphics";
    case StreamKind::DiscImage:
        return "disc image with graphics (2448-byte sectors)";
    case StreamKind::AudioImage:
        return "audio image without graphics (2352-byte sectors)";
    case StreamKind::KmaPackage:
        return "KMA karaoke package";
    case StreamKind::Unknown:
        break;
    }
    return "unknown";
}

int StreamRecordSize(StreamKind kind)
{
    switch (kind) {
    case StreamKind::Graphics:
        return kCdgRecordSize;
    case StreamKind::DiscImage:
        return kBinRecordSize;
    case StreamKind::AudioImage:
        return kSectorAudioSize;
    default:
        return 0;
    }
}

bool ScanCDGStream(CCDGInputFile& input, CDGStreamInfo& info, const std::function<void(double)>& progress,
                   const std::function<bool()>& cancelled)
{
    constexpr int packsPerPiece = 8192; // 192 KiB
    info = {};
    if (!input.IsOpen() || !input.SeekToPack(0))
        return false;
    info.packs = input.GetPackCount();
    StreamCounter counter(info);
    std::vector<u8> piece(static_cast<size_t>(packsPerPiece) * kPackSize);
    for (int at = 0; at < info.packs;) {
        if (cancelled && cancelled())
            return false;
        const int got = input.Read(piece.data(), std::min(packsPerPiece, info.packs - at));
        if (got == 0)
            return false; // a bad disk, or a file that shrinks while it is read
        for (int i = 0; i < got; ++i)
            counter.Add(piece.data() + static_cast<size_t>(i) * kPackSize, at + i);
        at += got;
        if (progress)
            progress(double(at) / info.packs);
    }
    return true;
}
