// Tables of contents of cue sheets.
#include "CDDB.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

namespace {

std::string Wave(u32 frames)
{
    const u32 bytes = 4 * frames, riff = bytes + 36;
    std::string text("RIFF....WAVEfmt \x10\0\0\0\x01\0\x02\0\x44\xAC\0\0\x10\xB1\x02\0\x04\0\x10\0data....", 44);
    for (int i = 0; i < 4; ++i) {
        text[static_cast<std::size_t>(4 + i)] = static_cast<char>(riff >> (8 * i));
        text[static_cast<std::size_t>(40 + i)] = static_cast<char>(bytes >> (8 * i));
    }
    return text + std::string(bytes, '\0');
}

} // namespace

TEST(CueSheet, TracksAndLeadOut)
{
    const TempFolder folder;
    folder.Write("a b.bin", std::string(2352 * 300, '\0'));
    folder.Write("g.bin", std::string(2448 * 100, '\0'));
    folder.Write("w.wav", Wave(588 * 150));
    const std::string bin = "FILE \"a b.bin\" BINARY\n";
    struct Case {
        const char* name;
        std::string sheet;
        std::vector<int> frames; // empty: refused
    };
    const Case cases[] = {
        {"one file",
         "TITLE x\r\n  " + bin +
             "TRACK 01 AUDIO\n INDEX 01 00:00:00\nTRACK 02 AUDIO\nINDEX 00 00:01:00\nINDEX 01 00:02:10\n",
         {150, 310, 450}},
        {"graphics",
         "\xEF\xBB\xBF"
         "FILE g.bin BINARY\nTRACK 01 CDG\nINDEX 01 00:00:02\n",
         {152, 250}},
        {"files of two kinds",
         bin + "TRACK 01 AUDIO\nINDEX 01 00:00:00\nFILE w.wav WAVE\nTRACK 02 AUDIO\nINDEX 01 00:00:05\n",
         {150, 455, 600}},
        {"silence in front and behind",
         bin + "TRACK 01 AUDIO\nPREGAP 00:00:10\nINDEX 01 00:00:00\nPOSTGAP 00:00:03\nTRACK 02 AUDIO\n"
               "INDEX 01 00:00:50\n",
         {160, 213, 463}},
        {"no track", bin, {}},
        {"no file", "TRACK 01 AUDIO\nINDEX 01 00:00:00\n", {}},
        {"a file that is not there", "FILE no.bin BINARY\nTRACK 01 AUDIO\nINDEX 01 00:00:00\n", {}},
        {"a kind without a length", "FILE w.wav MP3\nTRACK 01 AUDIO\nINDEX 01 00:00:00\n", {}},
        {"no start", bin + "TRACK 01 AUDIO\nTRACK 02 AUDIO\nINDEX 01 00:00:00\n", {}},
        {"starts that go back", bin + "TRACK 01 AUDIO\nINDEX 01 00:02:00\nTRACK 02 AUDIO\nINDEX 01 00:01:00\n", {}},
        {"a start behind the end", bin + "TRACK 01 AUDIO\nINDEX 01 00:09:00\n", {}},
        {"a time that is none", bin + "TRACK 01 AUDIO\nINDEX 01 00:60:00\n", {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const std::string path = folder.Write("x.cue", c.sheet);
        std::vector<CCDDBTrackPosition> positions(3);
        EXPECT_EQ(CCDDB::GetTrackPositions(positions, path.c_str()) != 0, !c.frames.empty());
        std::vector<int> frames;
        for (const CCDDBTrackPosition& at : positions)
            frames.push_back((at.minutes * 60 + at.seconds) * 75 + at.frames);
        EXPECT_EQ(frames, c.frames);
    }
    u32 id = 7;
    EXPECT_FALSE(CCDDB::ComputeDiscID(id, folder.Path("none.cue").c_str()));
    EXPECT_EQ(id, 7u);
}
