// Telling kinds of files apart by their contents, and counting streams.
#include "StreamInfo.h"
#include "support/MemoryFile.h"
#include "support/Noise.h"
#include "support/PackStream.h"
#include "support/PlainEmulator.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <numeric>
#include <tuple>
#include <utility>

namespace {

using Bytes = std::vector<u8>;

Bytes Random(unsigned seed, size_t count)
{
    const std::string noise = Noise(seed, count);
    return {noise.begin(), noise.end()};
}

// A loud chord, 16-bit stereo.
Bytes Sound(size_t count)
{
    Bytes bytes(count);
    for (size_t at = 0; at + 1 < count; at += 2) {
        const double t = double(at / 4);
        const int sample = int(9000 * std::sin(t * 0.031) + 7000 * std::sin(t * 0.047 + double(at / 2 % 2)));
        bytes[at] = static_cast<u8>(sample);
        bytes[at + 1] = static_cast<u8>(sample >> 8);
    }
    return bytes;
}

// Sectors of this audio with packs behind each of them.
Bytes Image(Bytes audio, const Bytes& packs)
{
    Bytes image;
    audio.resize((audio.size() + kSectorAudioSize - 1) / kSectorAudioSize * kSectorAudioSize);
    for (size_t sector = 0; sector * kSectorAudioSize < audio.size(); ++sector) {
        const auto from = audio.begin() + std::ptrdiff_t(sector) * kSectorAudioSize;
        image.insert(image.end(), from, from + kSectorAudioSize);
        for (size_t at = sector * kCdgRecordSize; at < (sector + 1) * kCdgRecordSize; ++at)
            image.push_back(at < packs.size() ? packs[at] : u8{0});
    }
    return image;
}

// A song's beginning: long empty stretches, now and then something drawn.
Bytes SparsePacks(int count)
{
    PackStream stream;
    stream.Preset(1).Colours(false, {0x000, 0xFFF});
    while (stream.Count() < count)
        stream.Empty(37).Tile(stream.Count() % 18, stream.Count() % 50, 1);
    stream.bytes.resize(static_cast<size_t>(count) * kPackSize);
    return stream.bytes;
}

// What encoders may put around: P and Q bits everywhere, a constant for the parity.
Bytes Filled(Bytes packs)
{
    for (size_t at = 0; at < packs.size(); ++at) {
        const size_t place = at % kPackSize;
        packs[at] = place == 2 || place == 3 || place >= 20 ? u8{0xA5} : static_cast<u8>(packs[at] | 0x80);
    }
    return packs;
}

Bytes Cut(Bytes bytes, size_t length)
{
    bytes.resize(length);
    return bytes;
}

Bytes Text(const std::string& text, size_t length)
{
    return Cut({text.begin(), text.end()}, length);
}

Bytes Kma(u8 type, const std::string& archive)
{
    Bytes bytes(4000, 0x77);
    std::fill_n(bytes.begin(), 256, u8{0});
    bytes[169] = type;
    std::copy(archive.begin(), archive.end(), bytes.begin() + 256);
    return bytes;
}

} // namespace

TEST(StreamInfo, KindsAreToldByContents)
{
    using enum StreamKind;
    struct Case {
        const char* name;
        Bytes bytes;
        StreamKind kind;
        ULONGLONG records = 0;
        int rest = 0;
        bool graphics = false, audio = false, zeros = false;
    };
    Dice dice(5);
    PackStream random;
    AddRandomPacks(random, dice, 4000);
    Bytes worn = SparsePacks(3000);
    for (size_t at = 0; at < worn.size(); at += size_t{kPackSize} * 20)
        worn[at] = static_cast<u8>(dice.Byte() | 1); // other commands
    const Bytes packs = SparsePacks(400), sound = Sound(100 * kSectorAudioSize);
    const Case cases[] = {
        {"nothing", {}, Empty},
        {"one byte", {7}, Unknown},
        {"one zero", {0}, Unknown, 0, 0, false, false, true},
        {"noise, whole 2448-byte sectors", Random(1, 20 * kBinRecordSize), Unknown},
        {"noise, one sector", Random(2, kBinRecordSize), Unknown},
        {"noise, whole 2352-byte sectors", Random(3, 20 * kSectorAudioSize), Unknown},
        {"text, whole sectors", Text("The quick brown fox ", 51 * kSectorAudioSize), Unknown},
        {"zeros fit all and prove none", Bytes(51 * kBinRecordSize), Unknown, 0, 0, false, false, true},
        {"WAV", Text("RIFF\x24...WAVEfmt ", 100), Wave},
        {"RIFF of another form", Text("RIFF\x24...AVI LIST", 100), Unknown},
        {"big-endian WAV is not read", Text("RIFX\x24...WAVEfmt ", 100), Unknown},
        {"package", Kma(6, "PK\3\4"), KmaPackage},
        {"package without an archive", Kma(6, "what"), Unknown},
        {"package of another type", Kma(5, "PK\3\4"), Unknown},
        {"one pack", Cut(packs, 24), Graphics, 0, 24, true},
        {"plain stream", packs, Graphics, 100, 0, true},
        {"plain stream, cut in a pack", Cut(packs, 9000), Graphics, 93, 72, true},
        {"plain stream, length of an image", Cut(SparsePacks(1020), 10 * kBinRecordSize), Graphics, 255, 0, true},
        {"plain stream with filled parity and P and Q bits", Filled(SparsePacks(4000)), Graphics, 1000, 0, true},
        {"plain stream of everything", random.bytes, Graphics, 1000, 0, true},
        {"plain stream, worn", worn, Graphics, 750, 0, true},
        {"disc image", Image(sound, packs), DiscImage, 100, 0, true, true},
        {"disc image with filled parity", Image(sound, Filled(packs)), DiscImage, 100, 0, true, true},
        {"disc image of a silent track", Image(Bytes(sound.size()), packs), DiscImage, 100, 0, true},
        {"disc image of noise", Image(Random(4, sound.size()), packs), DiscImage, 100, 0, true},
        {"disc image, cut in the audio", Cut(Image(sound, packs), 50 * kBinRecordSize + 9), DiscImage, 50, 9, true,
         true},
        {"disc image, graphics still to come", Image(sound, {}), DiscImage, 100, 0, false, true},
        {"disc image, length of both", Image(Sound(49 * kSectorAudioSize), packs), DiscImage, 49, 0, true, true},
        {"audio image", sound, AudioImage, 100, 0, false, true},
        {"audio image, length of both", Sound(102 * kSectorAudioSize), AudioImage, 102, 0, false, true},
        {"sound, but not in sectors", Sound(100001), Unknown, 0, 0, false, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        MemoryFile file(c.bytes);
        StreamIdentity found;
        ASSERT_TRUE(IdentifyStream(file, found, nullptr));
        EXPECT_STREQ(StreamKindName(found.kind), StreamKindName(c.kind));
        EXPECT_EQ(found.length, c.bytes.size());
        EXPECT_EQ(found.records, c.records);
        EXPECT_EQ(found.restBytes, c.rest);
        EXPECT_EQ(found.hasGraphics, c.graphics);
        EXPECT_EQ(found.looksLikeAudio, c.audio);
        EXPECT_EQ(found.onlyZeros, c.zeros);
    }
}

TEST(StreamInfo, LongFilesAreLookedAtInPlaces)
{
    // An hour of a disc image is 660 MB; here 5,000 sectors, of which the last tenth has graphics.
    Bytes packs(4500 * kCdgRecordSize);
    const Bytes late = SparsePacks(2000);
    packs.insert(packs.end(), late.begin(), late.end());
    MemoryFile file(Image(Sound(5000 * kSectorAudioSize), packs));
    StreamIdentity found;
    ASSERT_TRUE(IdentifyStream(file, found, nullptr));
    EXPECT_EQ(found.kind, StreamKind::DiscImage);
    EXPECT_TRUE(found.hasGraphics);
    EXPECT_LE(file.bytesRead, 3'000'000u);
}

TEST(StreamInfo, FailuresAreReturned)
{
    class Broken : public MemoryFile {
    public:
        Broken() : MemoryFile(Bytes(100, 1)) {}
        UINT Read(void*, UINT) override { AfxThrowFileException(CFileException::hardIO, 5, "broken"); }
    } broken;
    StreamIdentity found;
    CFileException error;
    EXPECT_FALSE(IdentifyStream(broken, found, &error));
    EXPECT_EQ(error.m_cause, CFileException::hardIO);
    EXPECT_FALSE(IdentifyStream("no-such-folder/x.bin", found, &error));
    EXPECT_NE(error.m_cause, CFileException::hardIO);

    CCDGInputFile input;
    CDGStreamInfo info;
    EXPECT_FALSE(ScanCDGStream(input, info)); // nothing is open
    MemoryFile file(SparsePacks(40000));
    input.Open(&file, true);
    double last = -1;
    EXPECT_TRUE(ScanCDGStream(input, info, [&](double done) { EXPECT_GT(done, std::exchange(last, done)); }));
    EXPECT_EQ(last, 1);
    int asked = 0;
    EXPECT_FALSE(ScanCDGStream(input, info, {}, [&] { return ++asked == 2; }));
    EXPECT_EQ(asked, 2);
}

TEST(StreamInfo, CountsAndLastChangeAreThoseOfAPlainWalk)
{
    for (u32 seed = 0; seed < 60; ++seed) {
        SCOPED_TRACE(seed);
        Dice dice(seed);
        PackStream stream;
        AddRandomPacks(stream, dice, 120);
        stream.Border(3).Empty(2); // a border colour is no change of the screen
        PadToRecord(stream);

        CDGStreamInfo expected;
        std::array<int, 64> counts{};
        PlainEmulator plain;
        plain.Init();
        const auto seen = [&] {
            return std::tuple(plain.index, plain.palette, plain.horizontalOffset, plain.verticalOffset,
                              plain.backgroundColour);
        };
        auto before = seen();
        for (int i = 0; i < stream.Count(); ++i) {
            const CCDGEmulatorPack pack = stream.Pack(i);
            plain.ProcessCommand(stream.At(i));
            if (auto after = seen(); after != before) {
                expected.lastChange = i;
                before = std::move(after);
            }
            const bool graphics = pack.command == kCommandGraphics;
            if (graphics && !expected.firstGraphics)
                expected.firstGraphics = i;
            if (graphics)
                ++counts[pack.instruction];
            const bool blank = std::all_of(pack.data, pack.data + 16, [](u8 byte) { return byte == 0; });
            if (!graphics)
                ++(pack.command == 0 && pack.instruction == 0 && blank ? expected.empty : expected.otherCommands);
        }

        for (const bool isPlain : {true, false}) {
            SCOPED_TRACE(isPlain ? "plain" : "disc image");
            MemoryFile file(isPlain ? stream.bytes : AsDiscImage(stream.bytes));
            CCDGInputFile input;
            input.Open(&file, isPlain);
            CDGStreamInfo info;
            ASSERT_TRUE(ScanCDGStream(input, info));
            EXPECT_EQ(info.packs, stream.Count());
            EXPECT_EQ(info.firstGraphics, expected.firstGraphics);
            EXPECT_EQ(info.lastChange, expected.lastChange);
            EXPECT_EQ(info.empty, expected.empty);
            EXPECT_EQ(info.otherCommands, expected.otherCommands);
            int others = std::accumulate(counts.begin(), counts.end(), 0);
            for (const auto& row : info.instructions) {
                EXPECT_EQ(row.packs, counts[row.instruction]) << row.name;
                others -= row.packs;
            }
            EXPECT_EQ(info.otherGraphics, others);
        }
    }
}

#ifdef NVLIB_TEST_DATA
TEST(StreamInfo, RealFilesAreWhatTheyAre)
{
    const std::pair<const char*, StreamKind> files[] = {
        {"cdg/cdg2mp4-sample-key.cdg", StreamKind::Graphics},
        {"cdg/gen-auld-lang-syne.cdg", StreamKind::Graphics},
        {"cdg/composer-sample_project_04.cdg", StreamKind::Graphics},
        {"cdg/gen-scroll-copy.cdg", StreamKind::Graphics},
        {"cdg/cdg2mp4-sample-scroll.cdg", StreamKind::Graphics},
        {"disc/composed-2448.bin", StreamKind::DiscImage},
        {"disc/cdda.bin", StreamKind::AudioImage},
        {"wav/taglib-alaw.wav", StreamKind::Wave},
        {"wav/arver-sample_be.wav", StreamKind::Unknown},
    };
    for (const auto& [name, kind] : files) {
        StreamIdentity found;
        ASSERT_TRUE(IdentifyStream((std::string(NVLIB_TEST_DATA "/") + name).c_str(), found, nullptr)) << name;
        EXPECT_STREQ(StreamKindName(found.kind), StreamKindName(kind)) << name;
    }
}
#endif
