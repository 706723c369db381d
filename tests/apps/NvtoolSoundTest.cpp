// nvtool's sound commands as a person runs them: MP3 files that other programs read, playing in real time.
#include "NVTypes.h"
#include "support/TempFolder.h"

#include <chrono>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <vector>

namespace fs = std::filesystem;

namespace {

class NvtoolSound : public testing::Test {
protected:
    void SetUp() override
    {
        fs::current_path(folder.Path());
        ASSERT_EQ(Run(NVLIB_NVTOOL " make-sample track.bin --seconds 75 --seed 7 --wav track.wav"), 0) << Errors();
    }
    void TearDown() override { fs::current_path(fs::temp_directory_path()); }
    static int Run(const std::string& command)
    {
        const int status = std::system((command + " >out.txt 2>err.txt").c_str());
        return status > 255 ? status / 256 : status; // where the system puts the exit code into the upper byte
    }
    static int Nvtool(const std::string& arguments) { return Run(NVLIB_NVTOOL " " + arguments); }
    std::string Errors() const { return folder.Read("err.txt"); }
    /// Samples as another program decodes them, its start and end cut to what was encoded.
    std::vector<i16> Decoded(const std::string& name) const
    {
        EXPECT_EQ(Run("mpg123 -q -w decoded.wav " + name), 0) << Errors();
        EXPECT_EQ(Errors(), "") << name;
        const std::string wav = folder.Read("decoded.wav");
        std::vector<i16> samples(wav.size() < 44 ? 0 : (wav.size() - 44) / 2);
        std::memcpy(samples.data(), wav.data() + 44, samples.size() * 2);
        return samples;
    }

    TempFolder folder;
};

TEST_F(NvtoolSound, Mp3FilesDecodeToTheRightLength)
{
    const auto frames = static_cast<std::size_t>((fs::file_size("track.wav") - 44) / 4);
    ASSERT_EQ(Nvtool("mp3 track.bin -o a.mp3 --bitrate 128"), 0) << Errors();
    ASSERT_EQ(Nvtool("mp3 track.wav -o v.mp3 --vbr 4"), 0) << Errors();
    ASSERT_EQ(Nvtool("mp3 track.wav -o j.mp3 --vbr 4 --jobs 2"), 0) << Errors();
    ASSERT_EQ(Nvtool("mp3 track.wav -o m.mp3 --mono --bitrate 64"), 0) << Errors();
    EXPECT_EQ(Nvtool("mp3 track.wav -o x.mp3 --bitrate 100"), 2);
    EXPECT_EQ(Nvtool("mp3 track.wav -o track.wav"), 1);
    EXPECT_EQ(Nvtool("mp3 track.wav -o no/such/folder.mp3"), 1);
    EXPECT_FALSE(fs::exists("x.mp3"));
    if (Run("mpg123 --version") != 0)
        GTEST_SKIP() << "mpg123 is not there";
    EXPECT_EQ(Decoded("a.mp3").size(), 2 * frames);
    EXPECT_EQ(Decoded("m.mp3").size(), frames);
    const std::vector<i16> one = Decoded("v.mp3"), joined = Decoded("j.mp3");
    ASSERT_EQ(one.size(), 2 * frames);
    ASSERT_EQ(joined.size(), 2 * frames);
    double difference = 0, loudness = 0;
    for (std::size_t k = 0; k < one.size(); ++k) {
        difference += std::pow(one[k] - joined[k], 2);
        loudness += std::pow(one[k], 2);
    }
    EXPECT_LT(difference, loudness / 10'000); // what coding costs, at most; a bad joint is a click
}

TEST_F(NvtoolSound, TellsWhichEncoderIsMissingAndWhereItLooked)
{
    // The program with its library, in a folder where there is no encoder at first.
    const fs::path nvtool = NVLIB_NVTOOL;
    const bool windows = nvtool.extension() == ".exe";
    fs::create_directory("program");
    fs::copy_file(nvtool, "program" / nvtool.filename());
    if (windows)
        fs::copy_file(nvtool.parent_path() / "NVLib.dll", "program/NVLib.dll");
    const fs::path encoder = fs::path("program") / (windows ? "lame_enc.dll" : "lame_enc.so");
    const std::string mp3 = fs::absolute("program" / nvtool.filename()).string() + " mp3 track.wav -o x.mp3";
    const auto problem = [&] {
        EXPECT_EQ(Run(mp3), 1);
        EXPECT_FALSE(fs::exists("x.mp3"));
        EXPECT_NE(Errors().find(fs::absolute(encoder).string()), std::string::npos) << Errors();
        return Errors();
    };
    EXPECT_NE(problem().find("there is no "), std::string::npos) << Errors();
    folder.Write(encoder.string(), "not a module");
    EXPECT_NE(problem().find(" cannot be loaded: "), std::string::npos) << Errors();
    fs::remove(encoder);
    fs::copy_file(NVLIB_OTHER_MODULE, encoder);
    EXPECT_NE(problem().find(" has no function beInitStream"), std::string::npos) << Errors();
}

TEST_F(NvtoolSound, ProcessMakesAnMp3FileThatThePagePlays)
{
    ASSERT_EQ(Nvtool("process track.bin -o done --mp3"), 0) << Errors();
    EXPECT_GT(fs::file_size("done/track.mp3"), 1'000'000U);
    EXPECT_NE(folder.Read("done/index.html").find("src=\"track.mp3\""), std::string::npos);
}

TEST_F(NvtoolSound, PlayingTakesItsTime)
{
    const auto start = std::chrono::steady_clock::now();
    const int code = Nvtool("play track.wav --from 10 --to 0:10.4");
    const std::chrono::duration<double> spent = std::chrono::steady_clock::now() - start;
    if (code != 0 && Errors().find("there is no sound device") != std::string::npos)
        GTEST_SKIP() << Errors();
    EXPECT_EQ(code, 0) << Errors();
    EXPECT_GE(spent.count(), 0.4);
    EXPECT_EQ(folder.Read("out.txt"), "track.wav: played from 0:10.000 to 0:10.400\n");
    EXPECT_EQ(Nvtool("play track.wav --from 5:00"), 1);
    EXPECT_EQ(Nvtool("play track.cdg"), 1);
}

} // namespace
