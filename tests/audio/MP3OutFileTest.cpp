// CMP3OutFile: settings to the byte, whatever the pieces the same file, and nothing left of what went wrong.
#include "MP3OutFile.h"
#include "support/PcmFormat.h"
#include "support/SmallDisk.h"
#include "support/SoundSamples.h"
#include "support/TempFolder.h"

#include <cmath>
#include <gtest/gtest.h>

namespace {

constexpr int toWrite = CFile::modeCreate | CFile::modeWrite;

std::vector<i16> Chord(std::size_t samples)
{
    std::vector<i16> sound(samples);
    for (std::size_t k = 0; k < samples; ++k)
        sound[k] = static_cast<i16>(9000 * std::sin(double(k) * 0.05) + 5000 * std::sin(double(k) * 0.31));
    return sound;
}

/// Encodes in pieces of `step` frames; empty when anything failed.
std::string Encode(const TempFolder& folder, const WAVEFORMATEX& format, const BE_CONFIG& config, const void* samples,
                   int frames, int step)
{
    CMP3OutFile file;
    file.SetParameters(config);
    file.SetFormat(format);
    if (!file.Open(folder.Path("out.mp3").c_str(), toWrite))
        return {};
    const u8* from = static_cast<const u8*>(samples);
    for (int at = 0; at < frames; at += step) {
        const int now = std::min(step, frames - at);
        if (file.Write(const_cast<u8*>(from) + static_cast<std::ptrdiff_t>(at) * format.nBlockAlign, now) != now)
            return {};
    }
    return file.Close() ? folder.Read("out.mp3") : "";
}

BE_CONFIG Config(auto change)
{
    BE_CONFIG config;
    CMP3OutFile::InitBEConfig(&config);
    change(config.format.LHV1);
    return config;
}
const auto unchanged = [](BE_CONFIG_LHV1&) {};

std::size_t Files(const TempFolder& folder)
{
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder.Path()), {}));
}

TEST(MP3OutFile, DefaultSettingsToTheByte)
{
    const BE_CONFIG config = Config(unchanged);
    std::string expected(331, '\0');
    const auto put = [&](std::size_t at, unsigned value) {
        for (std::size_t k = 0; k < 4; ++k)
            expected[at + k] = static_cast<char>(value >> (8 * k));
    };
    put(0, 256);
    put(4, 1);
    put(8, 331);
    put(12, 44100);
    put(24, 192);
    put(32, 0xFFFFFFFF);
    put(36, 1);
    put(60, 1); // original
    put(64, 1); // first frame
    put(72, 5);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(&config), sizeof config), expected);
    EXPECT_EQ(memcmp(&config, &CMP3OutFile::c_EncodingParams, sizeof config), 0);
}

TEST(MP3OutFile, PiecesMakeNoDifference)
{
    const TempFolder folder;
    const std::vector<i16> sound = Chord(2 * 30000);
    const std::string whole = Encode(folder, PcmFormat(2, 44100, 16), Config(unchanged), sound.data(), 30000, 30000);
    ASSERT_GT(whole.size(), 192000 / 8 * 30000 / 44100U);
    for (const int step : {1152, 1, 777, 9001})
        EXPECT_TRUE(Encode(folder, PcmFormat(2, 44100, 16), Config(unchanged), sound.data(), 30000, step) == whole)
            << step;
    EXPECT_EQ(Files(folder), 1U);
}

TEST(MP3OutFile, LessThanAChunkWaitsForTheEnd)
{
    const TempFolder folder;
    std::vector<i16> sound = Chord(2 * 1152);
    CMP3OutFile file;
    ASSERT_TRUE(file.Open(folder.Path("a.mp3").c_str(), toWrite)) << file.GetEncoderProblem();
    EXPECT_FALSE(file.CanRead() || file.CanSeek() || !file.CanWrite());
    EXPECT_EQ(file.Write(sound.data(), 1000), 1000);
    EXPECT_EQ(file.Write(sound.data(), 152), 152); // exactly one: waits too
    EXPECT_EQ(file.GetFile()->GetLength(), 0U);
    EXPECT_EQ(file.GetPosition(), 1152);
    EXPECT_FALSE(file.WriteMP3Buffer(sound.data(), 1 << 20, false)); // more than there is room for
    EXPECT_TRUE(file.Close());
    EXPECT_GT(folder.Read("a.mp3").size(), 1000U);
    EXPECT_EQ(file.Write(sound.data(), 1), 0);
    EXPECT_TRUE(file.Open(folder.Path("empty.mp3").c_str(), toWrite)); // again, and nothing in it
    EXPECT_TRUE(file.Close());
}

TEST(MP3OutFile, SoundDecidesAboutRateAndChannels)
{
    const TempFolder folder;
    const std::vector<i16> mono = Chord(20000);
    std::vector<i16> both;
    std::vector<u8> bytes;
    std::vector<u8> wide; // 24 bits
    std::vector<i16> coarse;
    for (const i16 sample : mono) {
        both.insert(both.end(), {static_cast<i16>(sample + 100), static_cast<i16>(sample - 100)});
        bytes.push_back(static_cast<u8>(sample / 256 + 128));
        coarse.push_back(static_cast<i16>(sample / 256 * 256));
        wide.insert(wide.end(), {77, static_cast<u8>(sample), static_cast<u8>(sample >> 8)});
    }
    const BE_CONFIG monoMode = Config([](BE_CONFIG_LHV1& lame) { lame.nMode = BE_MP3_MODE_MONO; });
    const std::string expected = Encode(folder, PcmFormat(1, 32000, 16), Config(unchanged), mono.data(), 20000, 500);
    ASSERT_GT(expected.size(), 1000U);
    EXPECT_EQ(static_cast<u8>(expected[3]) >> 6, 3);     // the header says mono
    EXPECT_EQ(static_cast<u8>(expected[2]) >> 2 & 3, 2); // and 32 kHz
    EXPECT_TRUE(Encode(folder, PcmFormat(2, 32000, 16), monoMode, both.data(), 20000, 500) == expected);
    EXPECT_TRUE(Encode(folder, PcmFormat(1, 32000, 24), monoMode, wide.data(), 20000, 500) == expected);
    EXPECT_TRUE(Encode(folder, PcmFormat(1, 32000, 8), monoMode, bytes.data(), 20000, 500) ==
                Encode(folder, PcmFormat(1, 32000, 16), monoMode, coarse.data(), 20000, 500));
    for (const WAVEFORMATEX& strange : {PcmFormat(3, 44100, 16), PcmFormat(2, 44100, 12), PcmFormat(2, 0, 16)})
        EXPECT_EQ(Encode(folder, strange, Config(unchanged), both.data(), 10, 10), "");
}

TEST(MP3OutFile, RejectedSettingsBecomeTheDefaults)
{
    const TempFolder folder;
    const std::vector<i16> sound = Chord(2 * 5000);
    const WAVEFORMATEX format = PcmFormat(2, 48000, 16);
    const std::string expected = Encode(folder, format, Config(unchanged), sound.data(), 5000, 5000);
    const BE_CONFIG strange = Config([](BE_CONFIG_LHV1& lame) { lame.dwReSampleRate = 12345; });
    EXPECT_TRUE(Encode(folder, format, strange, sound.data(), 5000, 5000) == expected);

    CMP3OutFile file;
    file.SetParameters(Config([](BE_CONFIG_LHV1& lame) {
        lame.bEnableVBR = TRUE;
        lame.dwBitrate = 128;
        lame.dwMaxBitrate = 160;
    }));
    ASSERT_TRUE(file.Open(folder.Path("vbr.mp3").c_str(), toWrite));
    EXPECT_EQ(file.GetParameters().format.LHV1.dwBitrate, 32U);
    EXPECT_EQ(file.GetParameters().format.LHV1.dwMaxBitrate, 320U);
}

TEST(MP3OutFile, WhatGoesWrongLeavesNothing)
{
    std::vector<i16> sound = Chord(2 * 44100);
    const TempFolder folder;
    CMP3OutFile file;
    EXPECT_FALSE(file.Open(folder.Path("no/such/folder.mp3").c_str(), toWrite));
    folder.Write("kept.mp3", "before");
    ASSERT_TRUE(file.Open(folder.Path("kept.mp3").c_str(), toWrite));
    file.Write(sound.data(), 44100);
    file.Abandon();
    EXPECT_EQ(folder.Read("kept.mp3"), "before");
    EXPECT_EQ(Files(folder), 1U);

    const SmallDisk disk(256);
    if (!disk.Works())
        GTEST_SKIP() << "no disk that can be filled";
    ASSERT_TRUE(file.Open(disk.Folder().Path("full.mp3").c_str(), toWrite));
    int seconds = 0;
    while (seconds < 60 && file.Write(sound.data(), 44100) == 44100)
        ++seconds;
    EXPECT_LT(seconds, 60);
    EXPECT_FALSE(file.Close());
    EXPECT_FALSE(std::filesystem::exists(disk.Folder().Path("full.mp3")));
    EXPECT_TRUE(file.Open(folder.Path("again.mp3").c_str(), toWrite));
}

} // namespace
