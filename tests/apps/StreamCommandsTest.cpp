// The commands of nvtool that look into streams: scan, palette, clean, and those around thumbprints.
#include "CDGRenderer.h"
#include "CDGScanner.h"
#include "RunNvtool.h"
#include "support/PackStream.h"

#include <algorithm>
#include <fstream>

namespace {

using nlohmann::json;

constexpr int kSeconds = 45; // long enough for two images of a thumbprint

class NvtoolStreams : public RunNvtool {
protected:
    void SetUp() override
    {
        RunNvtool::SetUp();
        fs::create_directories("songs/deep");
        const std::string seconds = " --seconds " + std::to_string(kSeconds);
        ASSERT_EQ(Run("make-sample songs/a.bin --cdg a.cdg --seed 7" + seconds), 0) << Errors();
        ASSERT_EQ(Run("make-sample songs/deep/b.bin --cdg b.cdg --seed 8" + seconds), 0) << Errors();
    }

    json RunJson(const std::string& arguments, int code = 0) const
    {
        EXPECT_EQ(Run(arguments + " --json"), code) << arguments << ": " << Errors();
        return Json();
    }
    static std::vector<std::string> Column(const json& rows, const char* name)
    {
        std::vector<std::string> values;
        for (const json& row : rows)
            values.push_back(row[name]);
        return values;
    }
    static std::string Bytes(const PackStream& stream) { return {stream.bytes.begin(), stream.bytes.end()}; }
};

using NvtoolPosix = NvtoolStreams;

std::vector<std::pair<int, int>> Lines(const json& screen)
{
    std::vector<std::pair<int, int>> lines;
    for (const json& line : screen["lines"])
        lines.emplace_back(line["firstRow"], line["lastRow"]);
    return lines;
}

} // namespace

TEST_F(NvtoolStreams, ScanTellsScreensAsTheyWereBeforeTheirErasure)
{
    fs::copy("songs/a.bin", "image.cdg"); // names that lie
    fs::copy("a.cdg", "plain.bin");
    const json report = RunJson("scan songs/a.bin a.cdg image.cdg plain.bin");
    ASSERT_EQ(report["files"].size(), 4u);
    json first = report["files"][0];
    EXPECT_EQ(first["packs"], kSeconds * 300);
    for (const json& file : report["files"]) {
        first["file"] = file["file"];
        EXPECT_EQ(first, file);
    }

    CCDGScanner scanner;
    ASSERT_TRUE(scanner.ScanFile("a.cdg", [] { return false; }));
    EXPECT_EQ(first["xorTiles"], scanner.m_XorTiles.size());
    EXPECT_EQ(first["activity"].size(), scanner.m_ActivityRanges.size());
    const json& screens = first["screens"];
    ASSERT_GT(screens.size(), 5u);

    // Played to where a screen was whole, it has these lines.
    CCDGInputFile input;
    ASSERT_EQ(input.Open("a.cdg", CFile::modeRead, nullptr), 1);
    CDGEmulator::CCDGEmulator emulator;
    emulator.SetMasking(true, false);
    emulator.Init();
    int next = 0, withLines = 0;
    for (const json& screen : screens) {
        EXPECT_EQ(screen["firstPack"], next);
        next = screen["lastPack"].get<int>() + 1;
        CCDGEmulatorPack pack;
        while (input.GetCurrentPack() < screen["wholePack"] && input.GetNextPack(pack))
            emulator.ProcessCommand(pack, -1, -1);
        emulator.UpdateMaskOutline();
        emulator.DetectLines();
        ASSERT_EQ(Lines(screen), emulator.GetLines()) << screen;
        std::vector<std::pair<int, int>> scanned;
        scanner.GetScannedLines(screen["lastPack"], scanned);
        EXPECT_EQ(Lines(screen), scanned) << screen;
        withLines += !scanned.empty();
    }
    EXPECT_GT(withLines, 3);
}

TEST_F(NvtoolStreams, ManyInputsKeepTheirOrderAndFailuresEndNothing)
{
    folder.Write("songs/broken.CDG", "x");
    folder.Write("songs/firmware.bin", std::string(9000, 'f'));
    folder.Write("songs/words.txt", "no stream by its name");
    const std::string arguments = "scan b.cdg nothing.cdg songs a.cdg songs/firmware.bin";
    const json alone = RunJson(arguments + " --jobs 1", 1);
    const std::vector<std::string> files = {"b.cdg", "songs/a.bin", "songs/deep/b.bin", "a.cdg"};
    const std::vector<std::string> failed = {"nothing.cdg", "songs/broken.CDG", "songs/firmware.bin"};
    EXPECT_EQ(Column(alone["files"], "file"), files);
    EXPECT_EQ(Column(alone["failures"], "file"), failed);
    size_t at = 0;
    for (const std::string& name : failed) {
        at = Errors().find("nvtool: " + name + ": ", at);
        EXPECT_NE(at, std::string::npos) << name << "\n" << Errors();
    }
    EXPECT_EQ(RunJson(arguments + " --jobs 8", 1), alone);
    EXPECT_EQ(Run(arguments), 1);
    EXPECT_LT(Output().find("songs/deep/b.bin: "), Output().find("\na.cdg: "));
}

TEST_F(NvtoolStreams, PaletteIsWhatTheRendererShows)
{
    CCDGRenderer renderer;
    ASSERT_TRUE(renderer.Open("a.cdg", nullptr, true));
    for (const int seconds : {0, 3, 17, kSeconds + 10}) {
        const std::string at = " --at " + std::to_string(seconds);
        const json colours = RunJson("palette songs/a.bin" + at)["colours"];
        EXPECT_EQ(colours, RunJson("palette a.cdg" + at)["colours"]);
        // The palette at a pack has that pack's own load in it.
        ASSERT_NE(renderer.GetFrame(seconds + 1.5 / 300), nullptr);
        ASSERT_EQ(colours.size(), 16u);
        for (int i = 0; i < 16; ++i) {
            const u32 colour = renderer.GetEmulator().GetPaletteEntry(i);
            char text[16];
            std::snprintf(text, sizeof(text), "#%02x%02x%02x", colour & 255, colour >> 8 & 255, colour >> 16 & 255);
            EXPECT_EQ(colours[static_cast<size_t>(i)], (std::string{'#', text[1], text[3], text[5]})) << seconds;
        }
    }
    EXPECT_NE(Errors().find("past the end"), std::string::npos);
}

TEST_F(NvtoolStreams, CleanListsRanges)
{
    PackStream stream;
    stream.Preset(0).Empty(9).Tile(3, 3, 1).Empty(9).Preset(0).Empty(99).Preset(4).Empty(10).Preset(0).Empty(5);
    PadToRecord(stream);
    folder.Write("stream.cdg", Bytes(stream));
    const json report = RunJson("clean stream.cdg");
    std::vector<std::pair<int, int>> ranges;
    for (const json& range : report["clean"])
        ranges.emplace_back(range["firstPack"], range["lastPack"]);
    // Clean before the tile at 10, from the preset at 20 up to that of colour 4 at 120, and at the end.
    EXPECT_EQ(ranges, (std::vector<std::pair<int, int>>{{0, 10}, {21, 120}, {132, stream.Count() - 1}}));
    EXPECT_EQ(report["cleanPacks"], 11 + 100 + stream.Count() - 132);
}

TEST_F(NvtoolStreams, ThumbprintsKnowTheSameGraphicsAgain)
{
    std::string worn = folder.Read("a.cdg");
    std::fill_n(worn.begin() + 24 * 5000, 24 * 4, '\0');
    folder.Write("worn.cdg", worn);
    folder.Write("short.cdg", Bytes(PackStream().Preset(0).Tile(3, 3, 1).Empty(998)));
    ASSERT_EQ(Run("thumbprint songs/a.bin -o a.print"), 0) << Errors();
    ASSERT_EQ(Run("thumbprint songs a.cdg -o prints"), 0) << Errors();
    EXPECT_EQ(folder.Read("prints/a.bin.thumbprint"), folder.Read("a.print"));
    EXPECT_EQ(folder.Read("prints/a.cdg.thumbprint"), folder.Read("a.print"));
    EXPECT_TRUE(fs::exists("prints/deep/b.bin.thumbprint"));
    folder.Write("cut.print", folder.Read("a.print").substr(0, 100));

    struct Case {
        const char *name, *arguments;
        const char* words;
    };
    const Case cases[] = {
        {"image and plain file", "songs/a.bin a.cdg", "bits: 0 ("},
        {"its own thumbprint", "a.cdg a.print", "\nthe same graphics\n"},
        {"two thumbprints", "a.print prints/deep/b.bin.thumbprint", "\ndifferent graphics"},
        {"against nothing, and everything allowed", "a.cdg short.cdg --same 2147483647", "\ndifferent graphics"},
        {"nothing to know it by", "short.cdg short.cdg", "\ncannot be told"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(Run(std::string("compare ") + c.arguments), 0) << Errors();
        EXPECT_NE(Output().find(c.words), std::string::npos) << Output();
    }
    EXPECT_EQ(Run("compare a.print cut.print"), 1);

    // How far the worn one is off is measured, then used as the limit.
    const int off = RunJson("compare a.cdg worn.cdg --same 0")["differingBits"];
    EXPECT_EQ(RunJson("compare a.cdg worn.cdg --same " + std::to_string(off))["same"], true);
    EXPECT_EQ(Run("thumbprint songs/a.bin songs/a.bin -o twice"), 1);
    EXPECT_NE(Errors().find("thumbprint of another stream"), std::string::npos);
}

TEST_F(NvtoolStreams, FindKeepsThumbprintsAndTrustsNoneThatIsOutOfDate)
{
    const auto find = [&](const std::string& more = "") { return RunJson("find a.cdg songs --cache kept" + more); };
    fs::copy("songs/a.bin", "songs/deep/again.bin");
    fs::copy("a.cdg", "songs/deep/misnamed.bin");
    json report = find();
    const std::vector<std::string> same = {"songs/a.bin", "songs/deep/again.bin", "songs/deep/misnamed.bin"};
    EXPECT_EQ(Column(report["matches"], "file"), same);
    EXPECT_EQ(report["streams"], 4);
    EXPECT_EQ(report["fromCache"], 0);
    EXPECT_EQ(Everything("songs").size(), 5u); // nothing was left beside the streams
    EXPECT_EQ(find(" --jobs 1")["fromCache"], 4);

    // Any damage is noticed, and mended.
    const auto entries = Everything("kept");
    ASSERT_EQ(entries.size(), 4u);
    Dice dice(3);
    for (const auto& [name, bytes] : entries) {
        std::string bad = bytes;
        if (const int at = dice(static_cast<int>(bad.size())); dice.OneIn(2))
            bad[static_cast<size_t>(at)] = static_cast<char>(bad[static_cast<size_t>(at)] ^ 16);
        else
            bad.resize(static_cast<size_t>(at));
        folder.Write(name, bad);
        report["fromCache"] = 3;
        EXPECT_EQ(find(), report) << name;
        EXPECT_EQ(folder.Read(name), bytes);
    }

    // Another stream under an old name; by its time alone when it is as long.
    const auto time = fs::last_write_time("songs/deep/again.bin");
    fs::remove("songs/deep/again.bin");
    fs::copy("songs/deep/b.bin", "songs/deep/again.bin");
    fs::last_write_time("songs/deep/again.bin", time + std::chrono::seconds(2));
    report = find();
    EXPECT_EQ(report["fromCache"], 3);
    EXPECT_EQ(report["matches"].size(), 2u);
    EXPECT_EQ(Everything("kept").size(), 4u);
    EXPECT_EQ(RunJson("find a.cdg songs --no-cache")["fromCache"], 0);
}

TEST_F(NvtoolPosix, TheCacheIsInTheUsersFolder)
{
    const std::string find = NVLIB_NVTOOL " find a.cdg songs >out.txt";
    ASSERT_EQ(std::system(("XDG_CACHE_HOME=\"$PWD/mine\" HOME=/nowhere " + find).c_str()), 0);
    EXPECT_EQ(Everything("mine/nvtool/thumbprints").size(), 2u);
    ASSERT_EQ(std::system(("XDG_CACHE_HOME=relative HOME=\"$PWD/home\" " + find).c_str()), 0);
    EXPECT_EQ(Everything("home/.cache/nvtool/thumbprints").size(), 2u);
    EXPECT_FALSE(fs::exists("relative"));
}

TEST_F(NvtoolPosix, CtrlCLeavesNoMp3File)
{
    ASSERT_EQ(Run("make-sample c.bin --wav endless.wav --seconds 20"), 0) << Errors();
    std::string header = folder.Read("endless.wav").substr(0, 44);
    header.replace(40, 4, "\xF0\xFF\xFF\x7F"); // hours of silence, and no bytes on the disk
    folder.Write("endless.wav", header);
    fs::resize_file("endless.wav", u64{0x7FFFFFF0} + 44);
    fs::create_directory("mp3");
    for (const char* const jobs : {"1", "2"}) {
        const std::string command = std::string("env --default-signal=INT " NVLIB_NVTOOL " mp3 endless.wav --jobs ") +
                                    jobs +
                                    " -o mp3/made.mp3 >out.txt 2>err.txt &"
                                    " while kill -0 $! && [ -z \"$(ls -A mp3)\" ]; do sleep 0.01; done;"
                                    " kill -INT $!; wait $!; exit $?";
        EXPECT_EQ(std::system(command.c_str()) / 256, 130);
        EXPECT_EQ(Errors(), "nvtool: interrupted\n");
        EXPECT_TRUE(Everything("mp3").empty());
    }
}

TEST_F(NvtoolPosix, CtrlCEndsAScanInGoodOrder)
{
    // The second stream, zeros and no bytes on the disk, would take minutes; the first one's report says that it began.
    folder.Write("endless.cdg", "");
    fs::resize_file("endless.cdg", u64{24} * 2'000'000'000);
    fs::remove("out.txt");
    const std::string command =
        "env --default-signal=INT " NVLIB_NVTOOL " scan --jobs 1 b.cdg endless.cdg >out.txt 2>err.txt &"
        " while kill -0 $! && ! [ -s out.txt ]; do sleep 0.01; done;"
        " kill -INT $!; wait $!; exit $?";
    const int status = std::system(command.c_str());
    EXPECT_EQ(status / 256, 130);
    EXPECT_EQ(Errors(), "nvtool: interrupted\n");
    EXPECT_EQ(Output().rfind("b.cdg: ", 0), 0u);
}
