// nvtool video, and sound that only ffmpeg reads: the built program and ffmpeg as child processes. And the pictures on
// their way to ffmpeg, for themselves.
#include "CDGRenderer.h"
#include "ConsoleOutputReader.h"
#include "FrameScaler.h"
#include "WaveFile.h"
#include "apps/nvtool/VideoStream.h"
#include "support/FakeTool.h"
#include "support/TempFolder.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <random>
#include <set>

namespace fs = std::filesystem;

namespace {

struct Finished {
    int code = -1;
    std::string text; // all lines, on either stream
};

class Video : public testing::Test {
protected:
    void SetUp() override
    {
        if (Run("ffmpeg -version").code != 0)
            GTEST_SKIP() << "there is no ffmpeg";
        ASSERT_EQ(Nvtool({"make-sample", "track.bin", "--seconds", "12", "--seed", "3", "--wav", "sound.wav", "--cdg",
                          "track.cdg"})
                      .code,
                  0);
    }

    Finished Run(const std::string& commandLine) const
    {
        CConsoleOutputReader console;
        CConsoleOutputReader::Settings settings;
        settings.folder = folder.Path();
        settings.timeLimit = 300000;
        Finished finished;
        console.Run(
            commandLine, [&](const std::string& line) { finished.text += line + "\n"; }, {}, settings);
        finished.code = console.GetExitCode();
        return finished;
    }
    Finished Nvtool(const Lines& arguments) const { return Run(FakeTool(Quoted(arguments), NVLIB_NVTOOL)); }
    Finished FFMpeg(const Lines& arguments) const { return Run("ffmpeg -nostdin -v error -y " + Quoted(arguments)); }
    std::string Facts(const std::string& video) const // what ffprobe tells of it
    {
        return Run("ffprobe -v error -count_packets -show_streams -show_format " + Quoted({video})).text;
    }
    std::set<std::string> Names() const
    {
        std::set<std::string> names;
        for (const auto& entry : fs::directory_iterator(folder.Path()))
            names.insert(entry.path().filename().string());
        return names;
    }

    TempFolder folder;
};

// What the video should show: the renderer's screen with its margin painted over, top row first, blue first.
std::string Expected(CCDGRenderer& renderer, CDGEmulator::CFrameScaler& scaler, int frame)
{
    const CDib* screen = renderer.GetFrame((frame * 10 + 0.5) / 300);
    const auto& emulator = renderer.GetEmulator();
    scaler.Update(*screen, emulator.GetPaletteEntry(emulator.GetBackgroundColour()));
    std::string bytes;
    for (int y = 0; y < 216; ++y)
        for (int x = 0; x < 300; ++x)
            bytes.append(reinterpret_cast<const char*>(scaler.Picture().GetRow(y)) + 4 * x, 3);
    return bytes;
}

} // namespace

TEST_F(Video, LosslessFramesAreTheRenderersAndTheSoundIsTheTracks)
{
    const Finished made = Nvtool({"video", "track.bin", "-o", "v.mkv", "--lossless", "--size", "300x216"});
    ASSERT_EQ(made.code, 0) << made.text;
    ASSERT_EQ(FFMpeg({"-i", "v.mkv", "-pix_fmt", "bgr24", "-f", "rawvideo", "v.raw"}).code, 0);
    const std::string frames = folder.Read("v.raw");
    constexpr std::size_t frameBytes = 300 * 216 * 3;
    ASSERT_EQ(frames.size(), 360 * frameBytes);
    std::mt19937 random(9);
    std::set<int> numbers = {0, 359};
    while (numbers.size() < 200)
        numbers.insert(static_cast<int>(random() % 360));

    CCDGRenderer renderer;
    CDGEmulator::CFrameScaler scaler;
    CDGEmulator::CFrameScaler::Settings settings;
    settings.width = 300;
    settings.height = 216;
    ASSERT_TRUE(scaler.Create(settings) && renderer.Open(folder.Path("track.cdg").c_str(), nullptr, true));
    std::set<std::string> pictures;
    for (const int number : numbers) {
        const std::string expected = Expected(renderer, scaler, number);
        EXPECT_EQ(frames.compare(static_cast<std::size_t>(number) * frameBytes, frameBytes, expected), 0)
            << "frame " << number;
        pictures.insert(expected);
    }
    EXPECT_GT(pictures.size(), 20U); // it is no test when all is still

    ASSERT_EQ(FFMpeg({"-i", "v.mkv", "-f", "s16le", "v.pcm"}).code, 0);
    EXPECT_TRUE(folder.Read("sound.wav").ends_with(folder.Read("v.pcm")));
    EXPECT_GT(folder.Read("v.pcm").size(), 44100U * 4 * 11);
}

TEST_F(Video, EachKindOfFileHoldsPictureAndSound)
{
    fs::create_directory(folder.Path("a \"b\" c"));
    fs::copy_file(folder.Path("track.cdg"), folder.Path("sound.cdg"));
    struct Case {
        Lines arguments;
        Lines facts;
    };
    const Case cases[] = {
        {{"track.bin", "-o", "a \"b\" c/it's.mp4", "--smooth", "--size", "640x360"},
         {"codec_name=h264", "codec_name=aac", "width=640", "r_frame_rate=30/1", "color_space=bt709",
          "nb_read_packets=360"}},
        {{"sound.cdg", "-o", "-v.webm", "--size", "320x240", "--fps", "24000/1001"},
         {"codec_name=vp9", "codec_name=opus", "r_frame_rate=24000/1001", "nb_read_packets=288"}},
        {{"track.cdg", "-o", "v.mkv", "--size", "320x240", "--fps", "10", "--background", "#102030"},
         {"codec_name=h264", "nb_streams=1", "r_frame_rate=10/1", "nb_read_packets=120"}},
    };
    for (const Case& c : cases) {
        Lines line = {"video"};
        line.insert(line.end(), c.arguments.begin(), c.arguments.end());
        if (c.arguments[2][0] == '-')
            line[3] = "--output=" + line[3], line.erase(line.begin() + 2);
        const Finished made = Nvtool(line);
        EXPECT_EQ(made.code, 0) << made.text;
        const std::string facts = Facts("file:" + c.arguments[2]);
        for (const std::string& fact : c.facts)
            EXPECT_NE(facts.find(fact + "\n"), std::string::npos) << fact << "\n" << facts;
    }
}

TEST_F(Video, WhatCannotBeDoneIsToldAndLeavesNothing)
{
    folder.Write("text.mp3", "this is no sound at all");
    folder.Write("old.mp4", "old");
    const auto before = Names();
    struct Case {
        Lines arguments;
        int code;
        const char* message;
    };
    const Case cases[] = {
        {{"track.bin", "-o", "v.avi"}, 2, "v.avi"},
        {{"track.bin", "-o", "v.mp4", "--size", "640"}, 2, "640"},
        {{"track.bin", "-o", "v.mp4", "--size", "641x360"}, 2, "even"},
        {{"track.bin", "-o", "v.mp4", "--fps", "0"}, 2, "rate"},
        {{"track.bin", "-o", "v.mp4", "--background", "#12"}, 2, "#12"},
        {{"track.bin", "-o", "v.mp4", "--lossless"}, 2, ".mkv"},
        {{"sound.wav", "-o", "v.mp4"}, 1, "holds no CD+G graphics"},
        {{"track.bin", "-o", "old.mp4", "--audio", "text.mp3"}, 1, "text.mp3: holds no sound"},
        {{"track.bin", "-o", "old.mp4", "--audio", "none.mp3"}, 1, "none.mp3: there is no such file"},
        {{"track.bin", "-o", "nowhere/v.mp4"}, 1, "there is no folder"},
    };
    for (const Case& c : cases) {
        Lines line = {"video"};
        line.insert(line.end(), c.arguments.begin(), c.arguments.end());
        const Finished finished = Nvtool(line);
        EXPECT_EQ(finished.code, c.code) << finished.text;
        EXPECT_NE(finished.text.find(c.message), std::string::npos) << c.message << " in " << finished.text;
    }
    const std::string video = FakeTool("video track.bin -o old.mp4 --size 7680x4320", NVLIB_NVTOOL);
    EXPECT_NE(Run("env NVTOOL_FFMPEG=/no/such/ffmpeg " + video).text.find("ffmpeg: cannot be run: "),
              std::string::npos);
    EXPECT_NE(Run("env NVTOOL_FFMPEG= " + video).text.find("needs the program ffmpeg"), std::string::npos);
    // Ctrl-C in the middle of it.
    const Finished interrupted = Run("timeout --foreground -s INT 2 " + video);
    EXPECT_NE(interrupted.text.find("nvtool: interrupted"), std::string::npos) << interrupted.text;
    EXPECT_EQ(Names(), before);
    EXPECT_EQ(folder.Read("old.mp4"), "old");
}

// Each command gives for sound that only ffmpeg reads what it gives for the WAV file, says so, and leaves nothing.
TEST_F(Video, CommandsThatTakeSoundTakeWhatFFMpegReads)
{
    ASSERT_EQ(FFMpeg({"-i", "sound.wav", "same.flac"}).code, 0);
    ASSERT_EQ(FFMpeg({"-i", "sound.wav", "-c:a", "pcm_s24le", "deep.wav"}).code, 0);
    fs::copy_file(folder.Path("sound.wav"), folder.Path("same.wav"));
    fs::create_directory(folder.Path("temporary"));
    const std::string nvtool = "env TMPDIR=" + folder.Path("temporary") + " " + FakeTool("", NVLIB_NVTOOL);
    struct Case {
        const char* command; // # stands for the sound
        const char* made;    // the file to compare instead of what is printed
        const char* deep;    // what is told of 24 bits
    };
    const char* const told = ": decoded by ffmpeg";
    const Case cases[] = {
        {"silence #", nullptr, told},
        {"levels # --points 30", nullptr, told},
        {"waveform # -o x.png --width 90 --height 300", "x.png", ""},
        {"peaks #", "same.fpr", told},
        {"mp3 # -o x.mp3 --jobs 2", "x.mp3", told},
        {"process # -o done", "done/waveform.png", told},
        {"join --wav # --cdg track.cdg x.bin", "x.bin", told},
        {"play # --from 2 --to 2.2", nullptr, told},
    };
    const auto run = [&](std::string command, const std::string& sound) {
        return Run(nvtool + command.replace(command.find('#'), 1, sound));
    };
    const auto without = [](std::string text, const std::string& name) { // lines about the file's own name
        for (std::size_t at = text.find(name); at != std::string::npos; at = text.find(name))
            text.erase(text.rfind('\n', at) + 1, text.find('\n', at) - text.rfind('\n', at));
        return text;
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.command);
        const Finished plain = run(c.command, "same.wav");
        if (plain.text.find("there is no sound device") != std::string::npos)
            continue;
        EXPECT_EQ(plain.code, 0) << plain.text;
        EXPECT_EQ(plain.text.find("ffmpeg"), std::string::npos) << plain.text;
        const std::string made = c.made ? folder.Read(c.made) : without(plain.text, "same.wav");
        if (c.made)
            fs::remove(folder.Path(c.made));
        const Finished decoded = run(c.command, "same.flac"), deep = run(c.command, "deep.wav");
        EXPECT_EQ(decoded.code, 0);
        EXPECT_NE(decoded.text.find(std::string("same.flac") + told), std::string::npos) << decoded.text;
        EXPECT_TRUE((c.made ? folder.Read(c.made) : without(decoded.text, "same.flac")) == made) << decoded.text;
        EXPECT_EQ(deep.code, 0) << deep.text;
        EXPECT_EQ(deep.text.find(told) != std::string::npos, *c.deep != 0) << deep.text;
    }
    EXPECT_NE(Nvtool({"info", "same.flac"}).text.find("flac, 44100 Hz, stereo"), std::string::npos);
    folder.Write("text.mp3", "this is no sound at all");
    EXPECT_NE(run("silence #", "text.mp3").text.find("text.mp3: holds no sound"), std::string::npos);
    EXPECT_EQ(Run("env NVTOOL_FFMPEG= " + FakeTool("silence same.flac", NVLIB_NVTOOL)).code, 1);
    EXPECT_TRUE(fs::is_empty(folder.Path("temporary")));
}

TEST(VideoPictures, PlanesFollowTheFormulaAndTakePieces)
{
    constexpr int width = 40, height = 30;
    CDib picture;
    ASSERT_TRUE(picture.Create(width, height, 32));
    std::mt19937 random(2);
    nvtool::StreamPicture kept(width, height, nvtool::PixelForm::Planes),
        same(width, height, nvtool::PixelForm::BlueFirst);
    for (int round = 0; round < 30; ++round) {
        const int x = static_cast<int>(random() % width), y = static_cast<int>(random() % height);
        CRect part(x, y, std::min(width, x + 7), std::min(height, y + 5));
        if (round == 0)
            part = CRect(0, 0, width, height);
        for (int i = part.top; i < part.bottom; ++i)
            for (int j = part.left; j < part.right; ++j)
                picture.SetPixelColor(j, i,
                                      round % 3 == 0 ? (random() % 2 != 0 ? RGB(255, 0, 255) : RGB(0, 255, 0))
                                                     : static_cast<u32>(random() & 0xFFFFFF));
        kept.Take(picture, part);
        same.Take(picture, part);
    }
    const auto channel = [&](int x, int y, int which) { return picture.GetPixelColor(x, y) >> 8 * which & 0xFF; };
    const auto bright = [&](int x, int y) {
        return 0.2126 * channel(x, y, 0) + 0.7152 * channel(x, y, 1) + 0.0722 * channel(x, y, 2);
    };
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            EXPECT_NEAR(kept.Bytes()[static_cast<std::size_t>(y * width + x)], 16 + bright(x, y) * 219 / 255, 0.51);
            EXPECT_EQ(
                std::memcmp(&same.Bytes()[static_cast<std::size_t>(y * width + x) * 4], picture.GetRow(y) + 4 * x, 3),
                0);
        }
    for (int y = 0; y < height; y += 2)
        for (int x = 0; x < width; x += 2) {
            double blue = 0, red = 0;
            for (int i = 0; i < 4; ++i) {
                const int at = x + i % 2, line = y + i / 2;
                blue += (channel(at, line, 2) - bright(at, line)) / 1.8556 / 4;
                red += (channel(at, line, 0) - bright(at, line)) / 1.5748 / 4;
            }
            const auto place = static_cast<std::size_t>(width * height + y / 2 * (width / 2) + x / 2);
            EXPECT_NEAR(kept.Bytes()[place], 128 + blue * 224 / 255, 0.52);
            EXPECT_NEAR(kept.Bytes()[place + width * height / 4], 128 + red * 224 / 255, 0.52);
        }
}
