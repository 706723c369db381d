// MPEG audio files of many makers, against what independent tools say of them.
#include "MP3Info.h"
#include "support/Table.h"

#include <cmath>
#include <gtest/gtest.h>

namespace {

// Why the walk counts other frames than every tool; docs/formats.md tells more. In all other files it counts what some
// tool counts, and the time is that of so many frames.
enum class Why {
    everyOther, // MPEG-2 and 2.5, Layer III: leaps of two frames; the time is right
    inFrame, // the same, but frames of several sizes, or rates that our table has otherwise: a leap ends inside a frame
    falseSync,  // bytes of an ID3v2 tag, or others before the first frame, look like a header
    freeFormat, // its headers do not count, but what looks like one inside its frames does
    noTool,     // crafted; no tool counts anything sensible
};
const std::map<std::string, Why> differing = {
    {"audiowaveform-test_file_stereo.mp3", Why::everyOther},
    {"musicmetadata-issue-347.mp3", Why::everyOther},
    {"musicmetadata-silence-2s-16000_no-tags_.CBR-128.mp3", Why::everyOther},
    {"tinytag-silence-22khz-mono-1s.mp3", Why::everyOther},
    {"tinytag-vbr22.mp3", Why::everyOther},
    {"tinytag-vbr8.mp3", Why::everyOther},
    {"minimp3-M2L3_bitrate_24_all.bit", Why::inFrame},
    {"minimp3-M2L3_noise.bit", Why::inFrame},
    {"musicmetadata-issue_69.mp3", Why::inFrame},
    {"mutagen-lame397v9short.mp3", Why::inFrame},
    {"tinytag-mpeg25_11025hz_vbr.mp3", Why::inFrame},
    {"tinytag-mpeg25_12khz_vbr.mp3", Why::inFrame},
    {"tinytag-mpeg2_16khz_vbr.mp3", Why::inFrame},
    {"tinytag-mpeg2_22050hz_vbr.mp3", Why::inFrame},
    {"tinytag-mpeg2_24khz_vbr.mp3", Why::inFrame},
    {"tinytag-mpeg2_id3v2.mp3", Why::inFrame},
    {"lofty-junk_between_id3_and_mp3.mp3", Why::falseSync},
    {"musicmetadata-adts-0-frame.mp3", Why::falseSync},
    {"musicmetadata-issue-362.apev1.mp3", Why::falseSync},
    {"taglib-duplicate_id3v2.mp3", Why::falseSync},
    {"tinytag-vbr_xing_header_2channel.mp3", Why::falseSync},
    {"minimp3-l3-he_free.bit", Why::freeFormat},
    {"minimp3-l3-nonstandard-big-iscf.bit", Why::noTool},
    {"minimp3-l3-nonstandard-id3v1-apetag.bit", Why::noTool},
    {"minimp3-l3-nonstandard-sideinfo-size.bit", Why::noTool},
};

std::string Escaped(const char* text)
{
    std::string all;
    for (; *text != '\0'; ++text) {
        const u8 byte = static_cast<u8>(*text);
        char code[5];
        std::snprintf(code, sizeof(code), "\\x%02x", byte);
        all += byte >= 32 && byte < 127 ? std::string(1, *text) : code;
    }
    return all;
}

void ExpectTag(const CMP3Info& info, Row row)
{
    ASSERT_EQ((info.GetValidity() & CMP3Info::validTag) != 0, row["id3v1"] == "yes");
    EXPECT_EQ(Escaped(info.GetTitle()), row["id3v1_title"]);
    EXPECT_EQ(Escaped(info.GetArtist()), row["id3v1_artist"]);
    EXPECT_EQ(Escaped(info.GetAlbum()), row["id3v1_album"]);
    EXPECT_EQ(Escaped(info.GetYear()), row["id3v1_year"]);
    EXPECT_EQ(Escaped(info.GetComment()), row["id3v1_comment"]);
    const bool numbered = !row["id3v1_track"].empty();
    EXPECT_EQ(std::to_string(info.GetTrack()), numbered ? row["id3v1_track"] : "0");
    EXPECT_EQ(std::to_string(info.GetGenreIndex()), numbered ? row["id3v1_genre"] : "255");
}

} // namespace

TEST(RealFiles, MP3FilesGiveTheirManifest)
{
    const std::string folder = NVLIB_TEST_DATA "/";
    const auto rows = ReadTable(folder + "expected_mp3.tsv");
    ASSERT_GT(rows.size(), 100U);
    std::size_t differ = 0;
    for (Row row : rows) {
        SCOPED_TRACE(row["file"]);
        CMP3Info info;
        ASSERT_EQ(info.Open((folder + row["file"]).c_str()), 1);
        ExpectTag(info, row);
        const int frames = info.GetNumFrames();
        bool agrees = false, counted = false;
        for (const char* tool : {"mp3info_good_frames", "mpg123_frames", "mediainfo_frames"}) {
            counted |= !row[tool].empty();
            agrees |= row[tool] == std::to_string(frames);
        }
        agrees |= frames == 0 && !counted;
        const auto known = differing.find(row["file"].substr(4));
        EXPECT_EQ(agrees, known == differing.end()) << frames << " frames";
        differ += known != differing.end();
        if (agrees && frames > 0) {
            EXPECT_EQ("Layer " + std::to_string(info.GetMPEGLayer()), row["mediainfo_layer"]);
            EXPECT_EQ(std::to_string(info.GetSampleRate()), row["mediainfo_rate"]);
            const double seconds = frames * (info.GetMPEGLayer() == 1 ? 384.0 : 1152.0) / info.GetSampleRate();
            EXPECT_LE(std::abs(info.GetLength() - seconds), 0.51);
        } else if (known != differing.end() && known->second == Why::everyOther) {
            EXPECT_EQ(info.GetMPEGLayer(), 3);
            EXPECT_LT(info.GetMPEGVersion(), 3);
            EXPECT_LE(std::abs(info.GetLength() - std::stod(row["ffprobe_duration"])), 0.6);
        }
    }
    EXPECT_EQ(differ, differing.size());
}
