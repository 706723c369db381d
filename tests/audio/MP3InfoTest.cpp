// CMP3Info: the walk against the plain rule on streams of all kinds, the tag there and back, and what a crash may not
// do.
#include "MP3Info.h"
#include "MPEGAudio.h"
#include "support/PlainMP3.h"
#include "support/SmallDisk.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

namespace {

std::string Header(u32 bits)
{
    return {static_cast<char>(bits >> 24), static_cast<char>(bits >> 16), static_cast<char>(bits >> 8),
            static_cast<char>(bits)};
}

std::string Frame(u32 bits, std::size_t bytes)
{
    std::string frame = Header(bits);
    frame.resize(bytes, '\x55');
    return frame;
}

constexpr u32 plainHeader = 0xFFFB9064; // MPEG-1 Layer III, no CRC, 128 kbit/s, 44100 Hz, joint stereo, original
constexpr std::size_t plainBytes = 417;

std::string Frames(int count)
{
    std::string all;
    for (int k = 0; k < count; ++k)
        all += Frame(plainHeader, plainBytes);
    return all;
}

std::string Tag(const std::string& title, const std::string& comment, int genre)
{
    std::string tag(128, '\0');
    tag.replace(0, 3, "TAG").replace(3, title.size(), title).replace(97, comment.size(), comment);
    tag[127] = static_cast<char>(genre);
    return tag;
}

void ExpectPlainRule(const std::string& path, const std::string& bytes)
{
    CMP3Info info;
    ASSERT_EQ(info.Open(path.c_str()), 1);
    const PlainMP3 plain = WalkPlainly(bytes);
    EXPECT_EQ(info.GetNumFrames(), plain.frames);
    EXPECT_EQ(info.GetLength(), plain.length);
    EXPECT_EQ(info.GetBitRate(), plain.bitRate);
    EXPECT_EQ(info.GetSampleRate(), plain.sampleRate);
    EXPECT_EQ(info.GetMPEGVersion(), plain.version);
    EXPECT_EQ(info.GetMPEGLayer(), plain.layer);
    EXPECT_EQ(info.HasCRC(), plain.protection);
    EXPECT_EQ(info.GetChannelMode(), plain.channelMode);
    EXPECT_EQ(info.GetEmphasis(), plain.emphasis);
    EXPECT_EQ(info.IsCopyrighted(), plain.copyright);
    EXPECT_EQ(info.IsOriginal(), plain.original);
    EXPECT_EQ((info.GetValidity() & CMP3Info::validFrames) != 0, plain.frames > 0);
}

} // namespace

TEST(MP3Info, WalksAsThePlainRuleDoes)
{
    const TempFolder folder;
    std::mt19937 random(11);
    const auto below = [&](u32 limit) { return static_cast<u32>(random() % limit); };
    int counted = 0;
    for (int round = 0; round < 600; ++round) {
        std::string bytes(below(4) == 0 ? below(3000) : 0, '\0');
        for (char& byte : bytes)
            byte = static_cast<char>(below(3) == 0 ? 0xFF : below(256));
        // Mostly one kind of stream; sometimes every frame another one. Now and then longer than a piece of the reader.
        const u32 kind = 0xFFE00000 | (below(4) << 19 | below(4) << 17 | below(2) << 16 | below(4) << 10 | below(1024));
        const std::size_t target = bytes.size() + (round % 40 == 0 ? 700000 : below(20000));
        while (bytes.size() < target) {
            u32 header = kind | below(16) << 12 | below(2) << 9;
            if (below(200) == 0)
                header = 0xFFE00000 | static_cast<u32>(random() & 0x1FFFFF);
            const int length = PlainFrameBytes(header);
            bytes += Frame(header, static_cast<std::size_t>(std::max(length, 4)));
            if (below(30) == 0)
                bytes.append(below(50), static_cast<char>(below(256)));
        }
        for (u32 k = below(3) == 0 ? below(20) : 0; k > 0; --k)
            bytes[below(static_cast<u32>(bytes.size()))] = static_cast<char>(random());
        bytes.resize(bytes.size() - std::min<std::size_t>(bytes.size(), below(600)));
        SCOPED_TRACE(round);
        ExpectPlainRule(folder.Write("a.mp3", bytes), bytes);
        counted += WalkPlainly(bytes).frames > 0;
        if (HasFailure())
            return;
    }
    EXPECT_GT(counted, 200);
}

TEST(MP3Info, StreamsAtTheEdge)
{
    struct Case {
        const char* name;
        std::string bytes;
        int frames;
    };
    const std::string junk(100000, 'x');
    const Case cases[] = {
        {"nothing", "", 0},
        {"three bytes of a header", "\xFF\xFB\x90", 0},
        {"a header alone", Header(plainHeader), 1},
        {"100000 bytes of junk", junk + Frames(2), 2},
        {"one more", junk + "x" + Frames(2), 0},
        {"as much between frames", Frames(3) + junk + Frames(2), 5},
        {"one more between frames", Frames(3) + junk + "x" + Frames(2), 3},
        {"free format", Frame(0xFFFB0064, 400) + Frame(0xFFFB0064, 400), 0},
        {"no rate", Frame(0xFFFBF064, 400), 0},
        {"no sample rate", Frames(2) + Frame(0xFFFB9C64, 417) + Frames(2), 2},
        {"reserved layer first", Header(0xFFF99064) + Frames(2), 2},
        {"reserved version", Frame(0xFFEB9064, 417), 0},
    };
    const TempFolder folder;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const std::string path = folder.Write("a.mp3", c.bytes);
        ExpectPlainRule(path, c.bytes);
        CMP3Info info;
        info.Open(path.c_str());
        EXPECT_EQ(info.GetNumFrames(), c.frames);
    }
    CMP3Info info;
    info.SetTitle("left over");
    EXPECT_EQ(info.Open(folder.Path("none.mp3").c_str()), 0);
    EXPECT_EQ(info.Open(folder.Path().c_str()), 0);
    EXPECT_EQ(info.GetTitle(), "");
    EXPECT_EQ(info.GetGenreIndex(), 255);
}

TEST(MP3Info, KeptRatesAndLengths)
{
    const TempFolder folder;
    const int mpeg2[] = {8, 16, 24, 32, 64, 80, 56, 64, 128, 160, 112, 128, 256, 320};
    for (u32 index = 1; index <= 14; ++index) {
        CMP3Info info;
        info.Open(folder.Write("a.mp3", Header(0xFFF30064 | index << 12)).c_str());
        EXPECT_EQ(info.GetBitRate(), mpeg2[index - 1]);
    }
    // 24 ms of 22.05 kHz frames each: rounded to the nearest, not cut off.
    CMP3Info info;
    info.Open(folder.Write("a.mp3", Frames(57)).c_str());
    EXPECT_EQ(info.GetLength(), 1u); // 1.4857 s
    info.Open(folder.Write("a.mp3", Frames(58)).c_str());
    EXPECT_EQ(info.GetLength(), 2u); // 1.5118 s

    EXPECT_EQ(CMP3Info::GetLengthString(59), "0:59");
    EXPECT_EQ(CMP3Info::GetLengthString(187), "3:07");
    EXPECT_EQ(CMP3Info::GetLengthString(3600), "60:00");
    const std::pair<int, const char*> genres[] = {{0, "Blues"},      {79, "Hard Rock"}, {80, "Folk"}, {126, "Goa"},
                                                  {147, "SynthPop"}, {148, ""},         {-1, ""},     {255, ""}};
    for (const auto& [index, name] : genres)
        EXPECT_EQ(CMP3Info::GetGenreString(index), name);
}

TEST(MP3Info, TagsAreReadByTheirForm)
{
    struct Case {
        const char* name;
        std::string comment; // of the tag, 30 bytes at most
        int storedGenre;
        const char* text;
        int track, genre;
    };
    const std::string full(30, 'c');
    const Case cases[] = {
        {"short, no track", "abc", 17, "abc", 0, 17},
        {"short, track", std::string("abc") + std::string(26, '\0') + "\x09", 7, "abc", 9, 7},
        {"28 bytes, track 255", std::string(28, 'd') + std::string(1, '\0') + "\xFF", 0, "dddddddddddddddddddddddddddd",
         255, 0},
        {"30 bytes: no genre", full, 17, "cccccccccccccccccccccccccccccc", 0, 255},
        {"byte 28 set, text shorter", std::string("ab") + std::string(26, '\0') + "xy", 17, "ab", 0, 255},
    };
    const TempFolder folder;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const std::string file = Frames(2) + Tag(std::string(30, 't'), c.comment, c.storedGenre);
        const std::string path = folder.Write("a.mp3", file);
        CMP3Info info;
        ASSERT_EQ(info.Open(path.c_str()), 1);
        EXPECT_EQ(info.GetValidity(), 3u);
        EXPECT_EQ(info.GetFileName(), path.c_str());
        EXPECT_EQ(info.GetTitle(), std::string(30, 't').c_str());
        EXPECT_EQ(info.GetComment(), c.text);
        EXPECT_EQ(info.GetTrack(), c.track);
        EXPECT_EQ(info.GetGenreIndex(), c.genre);

        info.SetTitle("new");
        ASSERT_EQ(info.WriteID3V1(path.c_str()), 1);
        const std::string written = folder.Read("a.mp3");
        ASSERT_EQ(written.size(), file.size()); // replaced
        EXPECT_EQ(written.substr(0, file.size() - 128), Frames(2));
        EXPECT_EQ(written.substr(file.size() - 128, 6), std::string("TAGnew"));
        if (c.comment != cases[4].comment) {
            EXPECT_EQ(written.substr(file.size() - 31), file.substr(file.size() - 31)); // comment, track, genre
        }
        ASSERT_EQ(info.WriteID3V1(path.c_str(), CMP3Info::removeTag), 1);
        EXPECT_EQ(folder.Read("a.mp3"), Frames(2));
        ASSERT_EQ(info.WriteID3V1(path.c_str(), CMP3Info::removeTag), 1); // none there
        EXPECT_EQ(folder.Read("a.mp3"), Frames(2));
    }
}

TEST(MP3Info, TagsAreWrittenWithinTheirFields)
{
    const TempFolder folder;
    struct Case {
        int track, genre;
        std::size_t commentBytes, commentRead;
        int trackRead, genreRead;
    };
    const Case cases[] = {{5, 147, 40, 28, 5, 147},
                          {0, 12, 40, 30, 0, 255},
                          {256, 300, 10, 10, 0, 255},
                          {-1, -1, 29, 29, 0, 255},
                          {0, 0, 28, 28, 0, 0}};
    for (const Case& c : cases) {
        const std::string path = folder.Write("a.mp3", "x"); // shorter than a tag
        CMP3Info info, back;
        info.SetArtist(std::string(40, 'a').c_str());
        info.SetAlbum("album");
        info.SetYear("19991");
        info.SetComment(std::string(c.commentBytes, 'c').c_str());
        info.SetTrack(c.track);
        info.SetGenreIndex(c.genre);
        ASSERT_EQ(info.WriteID3V1(path.c_str()), 1);
        EXPECT_EQ(folder.Read("a.mp3").size(), 129u);
        back.Open(path.c_str());
        EXPECT_EQ(back.GetArtist().GetLength(), 30);
        EXPECT_EQ(back.GetAlbum(), "album");
        EXPECT_EQ(back.GetYear(), "1999");
        EXPECT_EQ(back.GetComment(), std::string(c.commentRead, 'c').c_str());
        EXPECT_EQ(back.GetTrack(), c.trackRead);
        EXPECT_EQ(back.GetGenreIndex(), c.genreRead);
    }
}

TEST(MP3Info, FailedWritesLeaveEverything)
{
    namespace fs = std::filesystem;
    const TempFolder folder;
    CMP3Info info;
    EXPECT_EQ(info.WriteID3V1(folder.Path("none.mp3").c_str()), 0);
    EXPECT_EQ(info.WriteID3V1(folder.Path().c_str()), 0);
    const std::string path = folder.Write("a.mp3", Frames(2));
    EXPECT_EQ(info.WriteID3V1(path.c_str(), 2), 0);
    {
        const CFile inUse(path.c_str(), CFile::modeRead | CFile::shareDenyNone);
        EXPECT_EQ(info.WriteID3V1(path.c_str()), 0);
    }
    EXPECT_EQ(folder.Read("a.mp3"), Frames(2));
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.Path()), fs::directory_iterator()), 1);
    fs::permissions(path, fs::perms::owner_read | fs::perms::owner_write);
    const auto rights = fs::status(path).permissions();
    EXPECT_EQ(info.WriteID3V1(path.c_str()), 1);
    EXPECT_EQ(fs::status(path).permissions(), rights);

    const SmallDisk disk(300);
    if (!disk.Works())
        return;
    const std::string large = Frames(500); // room for one of it, not for two
    const std::string full = disk.Folder().Write("a.mp3", large);
    EXPECT_EQ(info.WriteID3V1(full.c_str()), 0);
    EXPECT_EQ(disk.Folder().Read("a.mp3"), large);
    EXPECT_EQ(std::distance(fs::directory_iterator(disk.Folder().Path()), fs::directory_iterator()), 1);
}

TEST(MPEGAudio, ClaimsAreReadWhereTheyStand)
{
    struct Case {
        const char* name;
        u32 header;
        std::size_t frameBytes, at;
        std::string text; // from `at` of the first frame on
        const char* kind;
        double seconds;
    };
    using namespace std::string_literals;
    const Case cases[] = {
        {"Xing, stereo", plainHeader, 417, 36, "Xing\0\0\0\3\0\0\0\x64\0\0\x10\0"s, "Xing", 100 * 1152 / 44100.0},
        {"Info, mono", 0xFFFB90C4, 417, 21, "Info\0\0\0\1\0\0\0\x64"s, "Info", 100 * 1152 / 44100.0},
        {"Xing, MPEG-2", 0xFFF380C4, 208, 13, "Xing\0\0\0\1\0\0\0\x64"s, "Xing", 100 * 576 / 22050.0},
        {"VBRI", plainHeader, 417, 36, "VBRI\0\1\0\0\0\0\0\0\x10\0\0\0\0\x64"s, "VBRI", 100 * 1152 / 44100.0},
        {"none", plainHeader, 417, 36, "", nullptr, 0},
        {"not where it belongs", plainHeader, 417, 21, "Xing\0\0\0\1\0\0\0\x64"s, nullptr, 0},
    };
    const TempFolder folder;
    const std::string id3 = "ID3\4\0\0\0\0\1\0"s + std::string(128, '\xFF');
    for (const Case& c : cases) {
        for (const std::string& before : {""s, id3, "junk"s}) {
            SCOPED_TRACE(c.name + (" behind " + std::to_string(before.size())));
            std::string first = Frame(c.header, c.frameBytes);
            first.replace(c.at, c.text.size(), c.text);
            const std::string path =
                folder.Write("a.mp3", before + first + Frame(c.header, c.frameBytes) + Tag("", "", 0));
            MPEGVBRClaim claim;
            EXPECT_TRUE(IsMPEGAudio(path.c_str()));
            ASSERT_EQ(ReadVBRClaim(path.c_str(), claim), c.kind != nullptr);
            if (c.kind == nullptr)
                continue;
            EXPECT_STREQ(claim.kind, c.kind);
            EXPECT_EQ(claim.frames, 100u);
            EXPECT_DOUBLE_EQ(claim.seconds.value_or(0), c.seconds);
            EXPECT_EQ(claim.bytes.value_or(0x1000), 0x1000u);
        }
    }
    for (const std::string& other : {""s, "\xFF"s, Frame(plainHeader, 417) + "x", id3, std::string(100000, '\xFF')}) {
        const std::string path = folder.Write("b.mp3", other);
        MPEGVBRClaim claim;
        EXPECT_FALSE(ReadVBRClaim(path.c_str(), claim));
        EXPECT_EQ(IsMPEGAudio(path.c_str()), other.size() == 418); // one byte is no room for another frame
    }
}
