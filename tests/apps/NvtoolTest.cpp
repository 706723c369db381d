// nvtool as a person runs it: the built program as a child process, in a folder of its own, on a track that it made.
#include "CDGRenderer.h"
#include "RunNvtool.h"
#include "platform/Environment.h"
#include "support/PackStream.h"
#include "support/SmallDisk.h"

#define STB_IMAGE_IMPLEMENTATION
#define STB_IMAGE_STATIC
#define STBI_ONLY_PNG
#include <stb_image.h>

#include <memory>
#include <regex>

namespace {

using Bytes = std::vector<u8>;

struct Image {
    int width = 0, height = 0;
    std::unique_ptr<u8, void (*)(void*)> pixels{nullptr, stbi_image_free};
    u32 At(int x, int y) const // as the library has colours
    {
        const u8* p = pixels.get() + 3 * (y * width + x);
        return p[0] | u32{p[1]} << 8 | u32{p[2]} << 16;
    }
};

class Nvtool : public RunNvtool {
protected:
    void SetUp() override
    {
        RunNvtool::SetUp();
        ASSERT_EQ(Run("make-sample track.bin --seconds 20 --seed 7 --wav made.wav --cdg made.cdg"), 0) << Errors();
    }
    static Image Load(const std::string& name)
    {
        Image image;
        image.pixels.reset(stbi_load(name.c_str(), &image.width, &image.height, nullptr, 3));
        EXPECT_TRUE(image.pixels) << name;
        return image;
    }
};

} // namespace

TEST_F(Nvtool, HelpIsThereForEveryCommand)
{
    EXPECT_EQ(Run("--version"), 0);
    EXPECT_EQ(Output().substr(0, 7), "nvtool ");
    ASSERT_EQ(Run("--help"), 0);
    const std::string all = Output();
    for (const char* command : {"process",  "info",       "scan",    "frame", "sheet",   "video",      "palette",
                                "clean",    "thumbprint", "compare", "find",  "silence", "peaks",      "levels",
                                "waveform", "view",       "split",   "join",  "tag",     "make-sample"}) {
        EXPECT_NE(all.find(command), std::string::npos) << command;
        EXPECT_EQ(Run(std::string(command) + " --help"), 0);
        EXPECT_NE(Output().find("Example"), std::string::npos) << command;
    }
}

TEST_F(Nvtool, BadInputAndBadCommandLinesAreToldAndHarmNothing)
{
    SetVariable("NVTOOL_FFMPEG", ""); // it would make something even of some of these
    folder.Write("empty.bin", "");
    folder.Write("one.cdg", "x");
    folder.Write("cut.wav", folder.Read("made.wav").substr(0, 30));
    folder.Write("text.bin", std::string(51 * kBinRecordSize, 't'));
    folder.Write("sum.wav", folder.Read("made.wav").replace(22, 1, "\1")); // one channel
    fs::create_directory("folder.bin");
    fs::create_directory("mine");
    folder.Write("mine/track.wav", "my own");
    folder.Write("locked.png", "old");
    fs::permissions("locked.png", fs::perms::owner_read);

    struct Case {
        const char* arguments;
        int code;
        const char* message;
    };
    const Case cases[] = {
        {"", 2, "Usage"},
        {"bogus", 2, "bogus"},
        {"info", 2, "FILE"},
        {"frame track.bin -o p.png", 2, "--at"},
        {"frame track.bin --at 1:2:3:4 -o p.png", 2, "1:2:3:4"},
        {"frame track.bin --at -1 -o p.png", 2, "-1"},
        {"frame track.bin --at nan -o p.png", 2, "nan"},
        {"frame track.bin --at 1 --scale 0 -o p.png", 2, "--scale"},
        {"silence track.bin --threshold 2", 2, "--threshold"},
        {"palette track.bin", 2, "--at"},
        {"find track.bin", 2, "DIR"},
        {"compare track.bin", 2, "B"},
        {"thumbprint track.bin", 2, "--output"},
        {"scan track.bin --jobs -1", 2, "--jobs"},
        {"find track.bin . --no-cache --cache new", 2, "--cache"},
        {"scan nothing.bin", 1, "nothing.bin: there is no such file"},
        {"scan one.cdg", 1, "one.cdg: holds no CD+G graphics"},
        {"clean text.bin", 1, "text.bin: holds no CD+G graphics"},
        {"palette made.wav --at 1", 1, "made.wav: holds no CD+G graphics"},
        {"thumbprint ./track.bin -o track.bin", 1, "track.bin: is the same file"},
        {"thumbprint made.cdg track.bin folder.bin/../track.bin -o made.cdg", 1, "made.cdg"},
        {"compare track.bin text.bin", 1, "text.bin: is neither CD+G graphics nor a thumbprint"},
        {"find track.bin mine --no-cache", 1, "track.bin: is too short or too blank"},
        {"info nothing.bin", 1, "nothing.bin: there is no such file"},
        {"info folder.bin", 1, "folder.bin: is a folder"},
        {"info empty.bin", 1, "empty.bin: is empty"},
        {"info one.cdg", 1, "one.cdg: is of no known kind"},
        {"info cut.wav", 1, "cut.wav: begins like a WAV file"},
        {"frame empty.bin --at 1 -o p.png", 1, "empty.bin: holds no CD+G graphics"},
        {"frame made.wav --at 1 -o p.png", 1, "made.wav: holds no CD+G graphics"},
        {"frame track.bin --at 1 -o nowhere/p.png", 1, "nowhere/p.png: there is no folder"},
        {"frame track.bin --at 1 -o folder.bin", 1, "folder.bin: is a folder"},
        {"frame track.bin --at 1 -o track.bin", 1, "track.bin: is the same file"},
        {"frame track.bin --at 1 -o locked.png", 1, "locked.png: is write-protected"},
        {"sheet made.cdg -o ./made.cdg", 1, "made.cdg: is the same file"},
        {"silence text.bin", 1, "text.bin: holds no sound"},
        {"split one.cdg --wav w.wav --cdg c.cdg", 1, "one.cdg: is no disc image"},
        {"split track.bin --wav track.bin --cdg c.cdg", 1, "track.bin: is the same file"},
        {"split track.bin --wav w.wav --cdg folder.bin/../track.bin", 1, "is the same file"},
        {"split track.bin --wav same --cdg same", 1, "same: is the same file"},
        {"join --wav made.wav --cdg made.cdg made.cdg", 1, "made.cdg: is the same file"},
        {"join --wav sum.wav --cdg made.cdg new.bin", 1, "sum.wav: a disc image takes 44100 Hz"},
        {"join --wav track.bin --cdg made.cdg new.bin", 1, "track.bin: is no WAV file"},
        {"join --wav made.wav --cdg made.wav new.bin", 1, "made.wav: is no plain CD+G file"},
        {"tag made.wav", 1, "made.wav: is no MP3 file"},
        {"tag nothing.mp3 --remove", 1, "nothing.mp3: there is no such file"},
        {"tag song.mp3 --title x --remove", 2, "--remove"},
        {"tag song.mp3 --genre Nothing", 2, "--genre"},
        {"tag song.mp3 --track 256", 2, "--track"},
        {"process empty.bin -o new", 1, "empty.bin: is no track"},
        {"process track.bin -o made.wav", 1, "made.wav: is a file"},
        {"process track.bin -o mine", 1, "track.wav: is in the way"},
    };
    const auto before = Everything(".");
    for (const Case& c : cases) {
        SCOPED_TRACE(c.arguments);
        EXPECT_EQ(Run(c.arguments), c.code);
        EXPECT_NE(Errors().find(c.message), std::string::npos) << Errors();
        EXPECT_TRUE(c.code != 1 || Errors().rfind("nvtool: ", 0) == 0) << Errors();
        EXPECT_EQ(Everything("."), before);
    }
}

TEST_F(Nvtool, InfoTellsWhatTheSampleIs)
{
    fs::copy("made.cdg", "wrong.wav");
    ASSERT_EQ(Run("info track.bin --json"), 0);
    nlohmann::json json = Json();
    EXPECT_EQ(json["kind"], "disc-image");
    EXPECT_EQ(json["records"], 1500);
    EXPECT_EQ(json["sound"]["frames"], 20 * 44100);
    EXPECT_EQ(json["graphics"]["packs"], 6000);
    EXPECT_EQ(json["graphics"]["instructions"].size(), 9u);
    EXPECT_GT(json["graphics"]["instructions"]["Tile Block XOR"], 0);
    EXPECT_LT(json["graphics"]["lastChange"]["pack"], 6000);
    EXPECT_TRUE(json["remarks"].empty());

    ASSERT_EQ(Run("info made.wav --json"), 0);
    EXPECT_EQ(Json()["kind"], "wav");
    ASSERT_EQ(Run("info wrong.wav --json"), 0);
    EXPECT_EQ(Json()["kind"], "cdg");
    EXPECT_EQ(Json()["remarks"].size(), 1u);
    folder.Write("bare.bin", std::string(3 * 2352, '\0'));
    const std::pair<const char*, std::vector<const char*>> texts[] = {
        {"track.bin", {"1500 sectors of 2448 bytes", "882000 frames", " 6000 packs", "Tile Block XOR"}},
        {"made.cdg", {"144000 bytes, 1500 records of 96 bytes", "first graphics pack", "last change"}},
        {"bare.bin", {"3 sectors of 2352 bytes", "1764 frames", "only zero bytes"}}};
    for (const auto& [file, parts] : texts) {
        ASSERT_EQ(Run(std::string("info ") + file), 0) << file;
        for (const char* const part : parts)
            EXPECT_NE(Output().find(part), std::string::npos) << part << " is not in\n" << Output();
    }
    ASSERT_EQ(Run("silence track.bin --json --min 1.5"), 0);
    EXPECT_EQ(Json()["silences"][0]["startFrame"], 0);
    EXPECT_GE(Json()["silences"][0]["endSeconds"], 1.5);
}

TEST_F(Nvtool, Mp3FilesAreToldAndTagged)
{
    // Ten frames of MPEG-1 Layer III behind one whose header claims twenty.
    std::string frame("\xFF\xFB\x90\x64");
    frame.resize(417, 'x');
    std::string first = frame, song;
    first.replace(36, 12, std::string("Info\0\0\0\1\0\0\0\x14", 12));
    for (int k = 0; k < 10; ++k)
        song += frame;
    song = first + song;
    folder.Write("song.mp3", song);
    folder.Write("sorry.mp3", "no frames in here");

    ASSERT_EQ(Run("info song.mp3 --json"), 0) << Errors();
    nlohmann::json json = Json();
    EXPECT_EQ(json["kind"], "mp3");
    EXPECT_EQ(json["description"], "MPEG-1 Layer III sound");
    EXPECT_EQ(json["mpeg"]["frames"], 11);
    EXPECT_EQ(json["mpeg"]["averageKbit"], 128);
    EXPECT_EQ(json["mpeg"]["claimed"]["frames"], 20);
    EXPECT_TRUE(json["mpeg"]["tag"].is_null());
    ASSERT_EQ(json["remarks"].size(), 1u);
    EXPECT_NE(json["remarks"][0].get<std::string>().find("claims 20 frames where there are 10"), std::string::npos);
    EXPECT_EQ(Run("info sorry.mp3"), 1);

    ASSERT_EQ(
        Run("tag song.mp3 --title \"Auld Lang Syne\" --track 3 --genre folk --comment 123456789012345678901234567890"),
        0);
    EXPECT_NE(Errors().find("comment is cut to 28 bytes"), std::string::npos);
    ASSERT_EQ(Run("tag song.mp3 --artist Trad --track 0 --json"), 0);
    EXPECT_EQ(Errors(), "");
    json = Json()["tag"];
    EXPECT_EQ(json["title"], "Auld Lang Syne");
    EXPECT_EQ(json["artist"], "Trad");
    EXPECT_EQ(json["track"], 0);
    EXPECT_EQ(json["genreName"], "Folk");
    EXPECT_EQ(folder.Read("song.mp3").size(), song.size() + 128);
    ASSERT_EQ(Run("tag song.mp3"), 0);
    EXPECT_NE(Output().find("Auld Lang Syne"), std::string::npos);
    ASSERT_EQ(Run("tag song.mp3 --remove"), 0);
    EXPECT_EQ(folder.Read("song.mp3"), song);
}

TEST_F(Nvtool, SplitAndJoinGiveTheImageBack)
{
    ASSERT_EQ(Run("split track.bin --wav w.wav --cdg c.cdg"), 0);
    EXPECT_EQ(folder.Read("w.wav"), folder.Read("made.wav"));
    EXPECT_EQ(folder.Read("c.cdg"), folder.Read("made.cdg"));
    folder.Write("back.bin", "an older file, longer or shorter");
    ASSERT_EQ(Run("join --wav w.wav --cdg c.cdg back.bin --json"), 0);
    EXPECT_EQ(Errors(), "");
    EXPECT_EQ(Json()["sectors"], 1500);
    EXPECT_TRUE(folder.Read("back.bin") == folder.Read("track.bin"));

    // Graphics that end within a record, and sooner than the sound; then graphics that go on for longer.
    const std::string graphics = folder.Read("made.cdg"), image = folder.Read("track.bin");
    folder.Write("short.cdg", graphics.substr(0, 96 * 700 + 50));
    ASSERT_EQ(Run("join --wav made.wav --cdg short.cdg short.bin"), 0);
    EXPECT_NE(Errors().find("filled up with empty packs"), std::string::npos);
    const std::string padded = folder.Read("short.bin");
    ASSERT_EQ(padded.size(), image.size());
    EXPECT_EQ(padded.substr(700 * 2448 + 2352, 96), graphics.substr(700 * 96, 50) + std::string(46, '\0'));
    EXPECT_EQ(padded.substr(701 * 2448, 2448), image.substr(701 * 2448, 2352) + std::string(96, '\0'));

    folder.Write("long.cdg", graphics + graphics.substr(0, 960));
    ASSERT_EQ(Run("join --wav made.wav --cdg long.cdg long.bin"), 0);
    EXPECT_NE(Errors().find("filled up with silence"), std::string::npos);
    EXPECT_EQ(folder.Read("long.bin").substr(image.size() + 2448, 2448),
              std::string(2352, '\0') + graphics.substr(96, 96));

    folder.Write("partial.bin", image.substr(0, 100 * 2448 + 77));
    ASSERT_EQ(Run("split partial.bin --wav w.wav --cdg c.cdg"), 0);
    EXPECT_NE(Errors().find("last 77 bytes"), std::string::npos);
    EXPECT_EQ(folder.Read("c.cdg"), graphics.substr(0, 9600));
}

TEST_F(Nvtool, FramesAreWhatTheRendererShows)
{
    ASSERT_EQ(Run("frame track.bin --at 3 --at 0:08.5,0:19 -o p.png --scale 2 --json"), 0) << Errors();
    EXPECT_EQ(Json()["pictures"].size(), 3u);
    ASSERT_EQ(Run("frame made.cdg --at 8.5 -o v.png --visible"), 0);
    ASSERT_EQ(Run("frame made.cdg --at 1:00 -o late.png"), 0);
    EXPECT_NE(Errors().find("past the end"), std::string::npos);

    CCDGRenderer renderer;
    ASSERT_TRUE(renderer.Open("made.cdg", nullptr, true));
    const Image visible = Load("v.png");
    ASSERT_EQ(visible.width, 288);
    ASSERT_EQ(visible.height, 192);
    const std::pair<const char*, double> pictures[] = {{"p-1.png", 3}, {"p-2.png", 8.5}, {"p-3.png", 19}};
    for (const auto& [name, seconds] : pictures) {
        const Image picture = Load(name);
        ASSERT_EQ(picture.width, 600);
        ASSERT_EQ(picture.height, 432);
        const CDib* frame = renderer.GetFrame(seconds);
        const u32 margin = renderer.GetEmulator().GetPaletteEntry(renderer.GetEmulator().GetBackgroundColour());
        int wrong = 0;
        for (int y = 0; y < picture.height; ++y)
            for (int x = 0; x < picture.width; ++x) {
                const bool inside = x >= 12 && x < 588 && y >= 24 && y < 408;
                wrong += picture.At(x, y) != (inside ? frame->GetPixelColor(x / 2, y / 2) : margin);
                wrong += inside && seconds == 8.5 && picture.At(x, y) != visible.At(x / 2 - 6, y / 2 - 12);
            }
        EXPECT_EQ(wrong, 0) << name;
    }
}

TEST_F(Nvtool, WaveformsShowWhatWasAskedFor)
{
    constexpr u32 pointer = 0x3EB2FF; // its colour
    struct Case {
        const char* view;
        int x, y; // ten of twenty seconds, in the middle of the band
    };
    for (const Case& c : {Case{"chart", 200, 104}, Case{"overview", 200, 103}, Case{"window", 300, 104}}) {
        SCOPED_TRACE(c.view);
        ASSERT_EQ(
            Run("waveform track.bin -o w.png --width 400 --height 208 --pointer 0:10 --view " + std::string(c.view)),
            0);
        const Image picture = Load("w.png");
        EXPECT_EQ(picture.width, 400);
        EXPECT_EQ(picture.height, 208);
        EXPECT_EQ(picture.At(c.x, c.y), pointer);
    }
    ASSERT_EQ(
        Run("waveform made.wav -o w.png --width 400 --height 208 --start 0:05 --density 441 --pointer 0:06 --json"), 0);
    EXPECT_EQ(Load("w.png").At(200, 4 + 100), pointer) << "a hundredth of a second a row";
    EXPECT_EQ(Json()["height"], 208);
    EXPECT_EQ(Run("waveform track.bin -o late.png --start 0:20"), 1);
    EXPECT_EQ(Run("waveform made.cdg -o late.png"), 1);
    EXPECT_FALSE(fs::exists("late.png"));
}

TEST_F(Nvtool, SheetsHaveTheirSize)
{
    struct Case {
        const char* options;
        int width, height;
    };
    const Case cases[] = {
        {"", 6 * 152 + 8, 4 * 122 + 8}, // a picture a second: 20 in rows of six
        {"--every 5 --columns 2", 2 * 152 + 8, 2 * 122 + 8},
        {"--every 30 --full", 296 + 8, 218 + 8},
    };
    for (const Case& c : cases) {
        ASSERT_EQ(Run(std::string("sheet track.bin -o s.png ") + c.options), 0);
        const Image sheet = Load("s.png");
        EXPECT_EQ(sheet.width, c.width) << c.options;
        EXPECT_EQ(sheet.height, c.height) << c.options;
    }
}

TEST_F(Nvtool, ProcessLeavesAPageThatStandsOnItsOwn)
{
    fs::create_directories("results");
    folder.Write("results/notes.txt", "mine");
    ASSERT_EQ(Run("process track.bin -o results --json"), 0) << Errors();
    const nlohmann::json report = Json();
    EXPECT_EQ(report, nlohmann::json::parse(folder.Read("results/report.json"), nullptr, false));
    EXPECT_EQ(folder.Read("results/track.wav"), folder.Read("made.wav"));
    EXPECT_EQ(folder.Read("results/track.cdg"), folder.Read("made.cdg"));
    ASSERT_GE(report["pages"].size(), 3u); // title, lyrics, end
    EXPECT_GE(report["sound"]["silences"].size(), 1u);
    for (const auto& page : report["pages"])
        EXPECT_EQ(Load("results/" + page["picture"].get<std::string>()).width, 900);

    // A frame around each line of each screen, drawn three times as large.
    ASSERT_GE(report["screens"].size(), 3u);
    int framed = 0;
    for (const auto& screen : report["screens"]) {
        if (screen["lines"].empty()) {
            EXPECT_TRUE(screen["picture"].is_null());
            continue;
        }
        const Image picture = Load("results/" + screen["picture"].get<std::string>());
        for (const auto& line : screen["lines"])
            for (const int y : {line["firstRow"].get<int>() * 3, line["lastRow"].get<int>() * 3 + 2}) {
                int longest = 0, run = 0;
                for (int x = 0; x < picture.width; ++x)
                    longest = std::max(longest, run = picture.At(x, y) == 0x9030FF ? run + 1 : 0);
                EXPECT_GT(longest, 12) << screen["picture"] << " row " << y;
                ++framed;
            }
    }
    EXPECT_GT(framed, 8);

    const std::string html = folder.Read("results/index.html");
    const std::regex reference("(?:href|src)=\"([^\"]*)\"");
    int references = 0;
    for (std::sregex_iterator at(html.begin(), html.end(), reference), end; at != end; ++at, ++references) {
        const std::string target = (*at)[1];
        if (target[0] == '#')
            EXPECT_NE(html.find("id=\"" + target.substr(1) + "\""), std::string::npos) << target;
        else
            EXPECT_TRUE(fs::exists("results/" + target)) << target;
    }
    EXPECT_GT(references, 8);
    EXPECT_EQ(html.find("http"), std::string::npos);
    EXPECT_NE(html.find("<image href=\"waveform.png\""), std::string::npos);
    EXPECT_EQ(Load("results/waveform.png").width, 1600);

    // A second run, on a track without pages, replaces and removes what was its own, and nothing else.
    const Bytes blank = PackStream().Preset(0).Colours(false, {0x000, 0xFFF}).Empty(400).bytes;
    folder.Write("r&b.cdg", std::string(blank.begin(), blank.end()));
    ASSERT_EQ(Run("process \"r&b.cdg\" -o results"), 0) << Errors();
    std::vector<std::string> names;
    for (const auto& [name, bytes] : Everything("results"))
        names.push_back(fs::path(name).filename().string());
    EXPECT_EQ(names,
              (std::vector<std::string>{"graphics.js", "index.html", "notes.txt", "report.json", "track.thumbprint"}));
    EXPECT_NE(folder.Read("results/index.html").find("<h1>r&amp;b.cdg</h1>"), std::string::npos);

    // Sound alone, and an image without room for graphics.
    ASSERT_EQ(Run("process made.wav -o sound"), 0) << Errors();
    EXPECT_FALSE(fs::exists("sound/track.cdg"));
    folder.Write("audio.bin", folder.Read("made.wav").substr(44));
    ASSERT_EQ(Run("process audio.bin -o audio"), 0) << Errors();
    EXPECT_EQ(folder.Read("audio/track.wav"), folder.Read("made.wav"));
}

TEST_F(Nvtool, FullDisksAreToldAndLeaveNothingHalfWritten)
{
    const SmallDisk disk(600);
    if (!disk.Works())
        GTEST_SKIP() << "mounting a small disk takes rights that this user does not have";
    const std::string there = disk.Folder().Path() + "/";
    const std::string commands[] = {
        "split track.bin --wav " + there + "w.wav --cdg " + there + "c.cdg",
        "join --wav made.wav --cdg made.cdg " + there + "keep.bin",
        "process track.bin -o " + there + "results",
        "process track.bin -o " + there,
        "make-sample " + there + "new.bin --seconds 20",
        "frame track.bin --at 9 --scale 16 -o " + there + "p.png",
        "waveform made.wav --width 2000 --height 2000 -o " + there + "w.png",
        "mp3 made.wav -o " + there + "m.mp3",
    };
    disk.Folder().Write("keep.bin", std::string(560000, 'k'));
    const auto before = Everything(there);
    for (const std::string& command : commands) {
        SCOPED_TRACE(command);
        EXPECT_EQ(Run(command), 1);
        EXPECT_EQ(Errors().rfind("nvtool: ", 0), 0u) << Errors();
        EXPECT_EQ(Everything(there), before);
    }
}

TEST_F(Nvtool, PeaksAreMadeOnceAndLevelsAreThoseOfTheSamples)
{
    ASSERT_EQ(Run("peaks made.wav --json"), 0) << Errors();
    EXPECT_EQ(Json()["fresh"], false);
    EXPECT_EQ(Json()["sectorSize"], 100);
    EXPECT_EQ(Json()["sectors"], 20 * 441);
    const std::string file = folder.Read("made.fpr");
    EXPECT_EQ(file.size(), 8u + 16 * 20 * 441);
    ASSERT_EQ(Run("peaks made.wav --sector 7 --json"), 0) << Errors();
    EXPECT_EQ(Json()["fresh"], true);
    EXPECT_EQ(Json()["sectorSize"], 100);
    folder.Write("made.fpr", "rubbish");
    ASSERT_EQ(Run("peaks made.wav"), 0) << Errors();
    EXPECT_NE(Output().find("made.fpr: made"), std::string::npos);
    EXPECT_EQ(folder.Read("made.fpr"), file);
    ASSERT_EQ(Run("peaks track.bin"), 0) << Errors();
    EXPECT_EQ(folder.Read("track.fpr"), file); // the same sound

    // Two seconds out of its middle.
    folder.Write("short.bin", folder.Read("track.bin").substr(750 * kBinRecordSize, 150 * kBinRecordSize));
    const std::string samples = folder.Read("made.wav").substr(44 + 4 * 441000, 4 * 88200);
    const auto sample = [&](size_t frame, size_t channel) {
        const size_t at = 4 * frame + 2 * channel;
        return static_cast<i16>(static_cast<u8>(samples[at]) | static_cast<u8>(samples[at + 1]) << 8);
    };
    for (const size_t points : {20u, 441u, 88200u}) { // from the peaks, from frames, the frames themselves
        ASSERT_EQ(Run("levels short.bin --json --points " + std::to_string(points)), 0) << Errors();
        const nlohmann::json levels = Json();
        const size_t frames = levels["framesPerPoint"];
        ASSERT_EQ(frames, 88200 / points);
        ASSERT_EQ(levels["points"], points);
        for (size_t point = 0; point < points; point += 1 + points / 50) {
            int min = 32767, max = -32768;
            for (size_t k = 0; k < frames; ++k) {
                min = std::min<int>(min, sample(point * frames + k, 1));
                max = std::max<int>(max, sample(point * frames + k, 1));
            }
            ASSERT_EQ(levels["channels"][1]["minima"][point], min) << points << ", " << point;
            ASSERT_EQ(levels["channels"][1]["maxima"][point], max) << points << ", " << point;
        }
    }
}
