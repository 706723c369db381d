// The base class: format and time, data for display against plain loops, samples from computed values, the log.
#include "BinFile.h"
#include "WaveFile.h"
#include "support/SoundSamples.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>
#include <limits>
#include <memory>
#include <regex>
#include <thread>

TEST(SoundFile, ClassesAreMadeByName)
{
    for (const char* name : {"CSoundFile", "CWaveFile", "CBinFile"}) {
        auto* found = CRuntimeClass::FromName(name);
        ASSERT_TRUE(found) << name;
        const std::unique_ptr<CObject> object(found->CreateObject());
        ASSERT_TRUE(object && object->IsKindOf(RUNTIME_CLASS(CSoundFile))) << name;
        const auto& sound = static_cast<CSoundFile&>(*object);
        EXPECT_EQ(sound.GetFormat().cbSize, 18);
        EXPECT_EQ(sound.GetFormat().nAvgBytesPerSec, 176400U);
        EXPECT_EQ(sound.GetBlockAlign(), 4);
    }
}

TEST(SoundFile, FormatFieldsFollowFromTheOthers)
{
    struct Case {
        WORD channels, bits;
        DWORD rate;
        WORD align;
        DWORD average;
    };
    for (const Case c :
         {Case{2, 16, 44100, 4, 176400}, Case{1, 8, 11025, 1, 11025}, Case{3, 12, 8000, 4, 32000},
          Case{1, 4, 6000, 0, 0}, Case{0, 0, 0, 0, 0}, Case{65535, 65535, 4294967295U, 49152, 4294918144U}}) {
        WAVEFORMATEX format{};
        format.nChannels = c.channels;
        format.wBitsPerSample = c.bits;
        format.nSamplesPerSec = c.rate;
        EXPECT_EQ(CSoundFile::UpdateFormat(&format), c.average);
        EXPECT_EQ(format.nAvgBytesPerSec, c.average);
        EXPECT_EQ(format.nBlockAlign, c.align);
    }
}

TEST(SoundFile, TimesAndFrames)
{
    const MemorySound sound(2, 44100, {});
    EXPECT_EQ(sound.SampleToTime(66150), 1.5);
    EXPECT_EQ(sound.SampleToTime(-441), -0.01);
    const double half = 0.5 / 44100;
    struct Case {
        double seconds;
        i64 frames;
    };
    for (const Case c :
         {Case{1.5, 66150}, Case{half * 0.99, 0}, Case{half * 1.01, 1}, Case{-half * 1.01, -1}, Case{1e300, INT64_MAX},
          Case{-1e300, INT64_MIN}, Case{std::numeric_limits<double>::quiet_NaN(), 0}})
        EXPECT_EQ(sound.TimeToSample(c.seconds), c.frames) << c.seconds;
    EXPECT_EQ(MemorySound(2, 0, {}).SampleToTime(5), 0.0);
}

TEST(SoundFile, ExtremesMatchAPlainSearch)
{
    for (int channels = 1; channels <= 9; ++channels) {
        for (const int frames : {0, 1, 7, 8, 9, 16, 33, 500}) {
            const auto samples =
                RandomSamples(static_cast<unsigned>(frames + channels), static_cast<std::size_t>(frames * channels), 9);
            std::vector<u8> odd(samples.size() * 2 + 1); // samples at an odd address
            if (frames > 0)
                std::memcpy(odd.data() + 1, samples.data(), samples.size() * 2);
            std::vector<i16> high(static_cast<std::size_t>(channels), -32768), low(high.size(), 32767);
            for (std::size_t k = 0; k < samples.size(); ++k) {
                high[k % high.size()] = std::max(high[k % high.size()], samples[k]);
                low[k % low.size()] = std::min(low[k % low.size()], samples[k]);
            }
            std::vector<i16> max(high.size(), 5), min(high.size(), 5);
            MemorySound(channels, 44100, {}).GetMaxMinSample(odd.data() + 1, frames, max.data(), min.data());
            EXPECT_EQ(max, high) << channels << " channels, " << frames << " frames";
            EXPECT_EQ(min, low) << channels << " channels, " << frames << " frames";
        }
    }
    MemorySound eightBit(1, 44100, {});
    WAVEFORMATEX format = eightBit.GetFormat();
    format.wBitsPerSample = 8;
    eightBit.SetFormat(format);
    i16 max = 5, min = 6;
    eightBit.GetMaxMinSample("\1\2\3", 3, &max, &min);
    EXPECT_TRUE(max == 5 && min == 6);
}

TEST(SoundFile, DisplayDataMatchesRowByRowReading)
{
    constexpr int length = 200'001;
    for (const int channels : {1, 2, 3}) {
        MemorySound sound(channels, 44100, RandomSamples(7, static_cast<std::size_t>(length * channels)));
        struct Case {
            i64 start;
            int count, density;
        };
        for (const Case c : {Case{0, 50, 100}, Case{199'000, 50, 100}, Case{17, 3, 66'000}, Case{1, 2, 150'000},
                             Case{5, 900, 2}, Case{length, 4, 3}, Case{0, 0, 5}, Case{0, 5, 0}, Case{0, 5, -1}}) {
            SCOPED_TRACE(testing::Message()
                         << channels << " channels, " << c.start << ' ' << c.count << ' ' << c.density);
            const int rows =
                c.density < 1 ? 0 : static_cast<int>(std::min<i64>(c.count, (length - c.start) / c.density));
            std::vector<i16> high(1000 * 3, 99), low(high);
            ASSERT_EQ(sound.GetData(c.start, low.data(), high.data(), c.count, c.density), rows);
            for (int row = 0; row < rows; ++row) {
                i16 max[3], min[3];
                sound.GetMaxMinSample(&sound.samples[static_cast<std::size_t>((c.start + row * c.density) * channels)],
                                      c.density, max, min);
                ASSERT_TRUE(std::equal(max, max + channels, &high[static_cast<std::size_t>(row * channels)])) << row;
                ASSERT_TRUE(std::equal(min, min + channels, &low[static_cast<std::size_t>(row * channels)])) << row;
            }
            EXPECT_EQ(high[static_cast<std::size_t>(rows * channels)], 99);
        }
        std::vector<i16> raw(static_cast<std::size_t>(10 * channels));
        EXPECT_EQ(sound.GetData(length - 6, raw.data(), nullptr, 10, 1), 6);
        EXPECT_TRUE(std::equal(sound.samples.end() - 6 * channels, sound.samples.end(), raw.begin()));
    }
}

TEST(SoundFile, ComputedValuesAreClampedAndRounded)
{
    const double nan = std::numeric_limits<double>::quiet_NaN(), inf = std::numeric_limits<double>::infinity();
    const std::vector<double> values = {
        0.5, -0.5, 0.49999999999999994, 1.5, -2.5, 32766.5, 32767.4, 40000, -32768.4, -1e300, inf, -inf, nan};
    const std::vector<i16> expected = {1, -1, 0, 2, -3, 32767, 32767, 32767, -32768, -32768, 32767, -32768, 0};
    const int count = static_cast<int>(values.size());
    std::vector<double> left = values, right(values.rbegin(), values.rend());
    std::vector<float> leftFloat(left.begin(), left.end()), rightFloat(right.begin(), right.end());
    leftFloat[2] = rightFloat[static_cast<std::size_t>(count) - 3] = 0.49999997F;
    std::vector<i16> frames;
    for (std::size_t k = 0; k < expected.size(); ++k)
        frames.insert(frames.end(), {expected[k], expected[expected.size() - 1 - k]});
    MemorySound sound(2, 44100, {});
    EXPECT_EQ(sound.WriteDoubles(left.data(), right.data(), count), count);
    EXPECT_EQ(sound.written, frames);
    EXPECT_EQ(sound.WriteDoubles(leftFloat.data(), rightFloat.data(), count), count);
    EXPECT_EQ(sound.written, frames);
    for (const int none : {0, -3}) {
        EXPECT_EQ(sound.WriteDoubles(left.data(), right.data(), none), none);
        EXPECT_EQ(sound.writtenFrames, none); // Write was called all the same
    }
}

TEST(SoundFile, TheLogTellsOpeningsClosingsAndFailures)
{
    const TempFolder folder;
    const std::string wav = folder.Path("a.wav"), text = folder.Write("b.wav", "no sound");
    CSoundFile::c_bEnableLog = true;
    CSoundFile::c_szLogFileName = folder.Path("log.txt").c_str();
    {
        CWaveFile file;
        EXPECT_TRUE(file.Open(wav.c_str(), CFile::modeCreate | CFile::modeReadWrite));
        EXPECT_TRUE(file.Close());
        EXPECT_FALSE(file.Open(text.c_str(), CFile::modeRead));
        EXPECT_FALSE(CBinFile().Open(folder.Path("none.bin").c_str(), CFile::modeRead));
    }
    const auto useMany = [&] {
        for (int k = 0; k < 20; ++k)
            CBinFile().Open(text.c_str(), CFile::modeRead | CFile::shareDenyNone);
    };
    std::thread other(useMany);
    useMany();
    other.join();
    CSoundFile::c_bEnableLog = false;
    CWaveFile().Open(wav.c_str(), CFile::modeRead);

    const std::string log = folder.Read("log.txt");
    const std::regex line(
        "20\\d\\d-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d\\d\\d  (open|close|open failed)  [^\n]+\n");
    const std::ptrdiff_t lines =
        std::distance(std::sregex_iterator(log.begin(), log.end(), line), std::sregex_iterator());
    EXPECT_EQ(lines, std::count(log.begin(), log.end(), '\n')) << log;
    EXPECT_EQ(lines, 4 + 2 * 2 * 20) << log;
    EXPECT_NE(log.find("open failed  " + text + "  no sound file"), std::string::npos) << log;
    EXPECT_NE(log.find("open failed  " + folder.Path("none.bin") + "  cause 2"), std::string::npos) << log;
}
