// Rows of a waveform against the plain rule, over random scrolling, zooming, growing and shrinking.
#include "audio/WaveRows.h"
#include "WaveFile.h"
#include "support/Noise.h"
#include "support/RawSound.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

using NV::WaveRows;

namespace {

constexpr int pcm = 1, floating = 3;

int SampleAt(const RawSound& sound, i64 frame, int channel)
{
    const WAVEFORMATEX& f = sound.GetFormat();
    const char* at = sound.bytes.data() + frame * f.nBlockAlign + channel * f.wBitsPerSample / 8;
    if (f.wFormatTag == floating) {
        float value;
        std::memcpy(&value, at, 4);
        const float scaled = value * 32768;
        return scaled != scaled ? 0 : scaled >= 32767 ? 32767 : scaled <= -32768 ? -32768 : static_cast<int>(scaled);
    }
    if (f.wBitsPerSample == 8)
        return (static_cast<u8>(*at) - 128) * 256;
    i16 top;
    std::memcpy(&top, at + f.wBitsPerSample / 8 - 2, 2);
    return top;
}

/// Everything that is known is what the frames say; what is missing is listed as missing.
void CheckRows(const WaveRows& rows, const RawSound& sound, i64 start, i64 density)
{
    for (int row = 0; row < rows.Count(); ++row) {
        bool missing = false;
        for (const auto& [first, stop] : rows.Missing())
            missing = missing || (row >= first && row < stop);
        ASSERT_EQ(rows.IsKnown(row), !missing);
        for (int c = 0; c < rows.Channels() && !missing; ++c) {
            int low = 32767, high = -32768;
            const i64 from = start + row * density;
            for (i64 k = from; k < std::min(from + density, sound.GetLength()); ++k) {
                low = std::min(low, SampleAt(sound, k, c));
                high = std::max(high, SampleAt(sound, k, c));
            }
            ASSERT_EQ(rows.Minimum(row, c), low) << "row " << row << " of density " << density << " from " << start;
            ASSERT_EQ(rows.Maximum(row, c), high) << "row " << row << " of density " << density << " from " << start;
        }
    }
}

std::string FloatNoise(unsigned seed, std::size_t count)
{
    std::mt19937 random(seed);
    std::string bytes;
    for (std::size_t k = 0; k < count; ++k) {
        const float value = k % 50 == 7 ? std::numeric_limits<float>::quiet_NaN()
                                        : static_cast<float>(static_cast<int>(random() % 5001) - 2500) / 2000;
        bytes.append(reinterpret_cast<const char*>(&value), 4);
    }
    return bytes;
}

} // namespace

TEST(WaveRows, AreWhatTheFramesSayWhateverTheWayThere)
{
    struct Case {
        const char* name;
        int tag, bits, channels;
    };
    const Case cases[] = {{"16 bits, stereo", pcm, 16, 2},     {"16 bits, mono", pcm, 16, 1},
                          {"8 bits, stereo", pcm, 8, 2},       {"24 bits, mono", pcm, 24, 1},
                          {"32 bits, 3 channels", pcm, 32, 3}, {"floating-point, stereo", floating, 32, 2}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        RawSound sound(c.tag, c.bits, c.channels,
                       c.bits == 32 && c.tag == floating ? FloatNoise(3, 40'000) : Noise(3, 120'000));
        const std::string all = sound.bytes;
        std::mt19937 random(11);
        WaveRows rows;
        i64 start = 0, density = 1;
        for (int step = 0; step < 60; ++step) {
            const unsigned what = random() % 8;
            if (what == 0) // another zoom, from single frames to more than there are
                density = random() % 5 == 0 ? i64(1) << (20 + random() % 20) : 1 + random() % (1U << random() % 13);
            if (what == 1)
                start = static_cast<i64>(random() % 15'000);
            if (what == 2) // the file became longer or shorter
                sound.bytes.assign(all, 0, random() % all.size());
            if (what > 2) // scrolled by rows
                start = std::max<i64>(start + (static_cast<i64>(random() % 81) - 40) * std::min<i64>(density, 1000), 0);
            rows.Want(sound, start, density, static_cast<int>(random() % 90));
            const bool looked = random() % 4 != 0; // now and then nobody does before the view moves on
            ASSERT_TRUE(!looked || rows.Fill(sound, 0));
            ASSERT_NO_FATAL_FAILURE(CheckRows(rows, sound, start, density));
        }
    }
}

TEST(WaveRows, OfEightBitsComeFromThePeaksWhereThereAreSome)
{
    const TempFolder folder;
    for (const int channels : {1, 2}) {
        const RawSound sound(pcm, 8, channels, Noise(5, 60'000));
        CWaveFile file;
        const CString path = folder.Path(std::to_string(channels) + ".wav").c_str();
        ASSERT_TRUE(file.Open(path, CFile::modeCreate | CFile::modeReadWrite));
        ASSERT_TRUE(file.SetFormat(sound.GetFormat()));
        std::string bytes = sound.bytes;
        ASSERT_EQ(file.Write(bytes.data(), static_cast<int>(sound.GetLength())), sound.GetLength());
        file.Close();
        file.SetPeakFileOption(PeakFileOption::inMemory);
        ASSERT_TRUE(file.Open(path, CFile::modeRead | CFile::shareDenyNone) && file.WaitForPeakFile());
        WaveRows rows;
        for (const i64 density : {300, 1'000, 7'000}) { // whole sectors of the peaks, so that nothing is rounded
            rows.Want(file, 1'200, density, 40);
            ASSERT_TRUE(rows.Fill(file, 0));
            ASSERT_NO_FATAL_FAILURE(CheckRows(rows, sound, 1'200, density));
        }
    }
}

TEST(WaveRows, ScrollingReadsNoMoreThanWhatIsNew)
{
    RawSound sound(pcm, 16, 2, Noise(1, 400'000));
    WaveRows rows;
    rows.Want(sound, 10'000, 50, 100);
    rows.Fill(sound, 0);
    for (const int by : {3, -7}) {
        sound.framesRead = 0;
        rows.Want(sound, 10'000 + by * 50, 50, 100);
        rows.Fill(sound, 0);
        EXPECT_EQ(sound.framesRead, std::abs(by) * 50);
        rows.Want(sound, 10'000, 50, 100);
        rows.Fill(sound, 0);
    }
}

TEST(WaveRows, WhatCannotBeReadIsEmptyAndNotAskedForAgain)
{
    RawSound sound(pcm, 16, 1, Noise(2, 20'000));
    sound.readable = 505; // the file shrank, and nobody has noticed yet
    WaveRows rows;
    rows.Want(sound, 0, 10, 100);
    ASSERT_TRUE(rows.Fill(sound, 0));
    EXPECT_FALSE(WaveRows::IsEmpty(rows.Minimum(49, 0), rows.Maximum(49, 0)));
    EXPECT_TRUE(WaveRows::IsEmpty(rows.Minimum(51, 0), rows.Maximum(51, 0)));
    EXPECT_TRUE(WaveRows::IsEmpty(rows.Minimum(99, 0), rows.Maximum(99, 0)));
}

TEST(WaveRows, OtherFormatsAreNotShown)
{
    struct Case {
        const char* name;
        int tag, bits, channels;
        bool shown;
    };
    const Case cases[] = {{"A-law", 6, 8, 1, false},
                          {"ADPCM", 2, 4, 2, false},
                          {"64-bit floating-point", 3, 64, 1, false},
                          {"65 channels", 1, 16, 65, false},
                          {"64 channels", 1, 16, 64, true}};
    for (const Case& c : cases) {
        const RawSound sound(c.tag, c.bits, c.channels, Noise(1, 1000));
        EXPECT_EQ(WaveRows::CanShow(sound), c.shown) << c.name;
        WaveRows rows;
        rows.Want(sound, 0, 1, 10);
        EXPECT_EQ(rows.Count() > 0, c.shown) << c.name;
    }
}
