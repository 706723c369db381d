// The silence scan against its plain rule, one sample at a time; all bodies of the mask kernel against each other.
#include "CpuFeatures.h"
#include "audio/LoudMask.h"
#include "support/SoundSamples.h"

#include <cmath>
#include <gtest/gtest.h>

namespace {

using List = CSoundFile::SilenceList;

/// The rule as it reads, on absolute values.
List PlainScan(double threshold, double minSeconds, const std::vector<int>& loudness, int rate)
{
    const int level = static_cast<int>(threshold * 32767.0);
    const i64 minimum = static_cast<i64>(rate * minSeconds), click = static_cast<i64>(rate / 60.0);
    i64 run = 0, start = 0, lastLoud = -click;
    List found;
    const auto report = [&] {
        if (run >= minimum)
            found.emplace_back(static_cast<int>(start), static_cast<int>(start + run));
    };
    for (i64 i = 0; i < static_cast<i64>(loudness.size()); ++i) {
        if (loudness[static_cast<std::size_t>(i)] < level) {
            if (run == 0)
                start = i;
            ++run;
        } else {
            if (i - lastLoud > click) {
                ++run;
            } else {
                report();
                run = 0;
            }
            lastLoud = i;
        }
    }
    report();
    return found;
}

std::vector<int> LoudnessOf(const std::vector<i16>& samples, int channels)
{
    std::vector<int> loudness;
    for (std::size_t k = 0; k + static_cast<std::size_t>(channels) <= samples.size();
         k += static_cast<std::size_t>(channels)) {
        int loudest = 0;
        for (int c = 0; c < channels; ++c)
            loudest = std::max(loudest, std::abs(int{samples[k + static_cast<std::size_t>(c)]}));
        loudness.push_back(loudest);
    }
    return loudness;
}

} // namespace

TEST(Silence, ScansByTheRule)
{
    // 6000 samples a second: a click window of 100, and 0.1 s are 600 samples.
    struct Case {
        const char* name;
        int count;
        std::vector<int> loudAt;
        double threshold, minSeconds;
        List expected;
    };
    const std::vector<Case> cases = {
        {"exactly the minimum", 600, {}, 0.5, 0.1, {{0, 600}}},
        {"one sample short", 599, {}, 0.5, 0.1, {}},
        {"the first sample is never a click", 700, {0}, 0.5, 0.1, {{1, 700}}},
        {"an isolated click stays inside", 1000, {500}, 0.5, 0.1, {{0, 1000}}},
        {"two loud samples within the window end it", 1000, {700, 800}, 0.5, 0.1, {{0, 800}}},
        {"just outside of the window they do not", 1000, {700, 801}, 0.5, 0.1, {{0, 1000}}},
        {"threshold 0: nothing is quiet", 700, {}, 0.0, 0.1, {}},
        {"threshold 0 without a minimum: an empty range for each sample",
         3,
         {},
         0.0,
         0.0,
         {{0, 0}, {0, 0}, {0, 0}, {0, 0}}},
        {"above full scale all is quiet", 700, {0, 1, 2}, 1.1, 0.1, {{0, 700}}},
        {"no samples, no minimum: one empty range", 0, {}, 0.5, 0.0, {{0, 0}}},
        {"a minimum beyond all numbers", 700, {}, 0.5, 1e300, {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        std::vector<i16> samples(static_cast<std::size_t>(c.count));
        for (const int at : c.loudAt)
            samples[static_cast<std::size_t>(at)] = -32768;
        EXPECT_EQ(CSoundFile::ScanForSilence(c.threshold, c.minSeconds, samples, 6000), c.expected);
    }
}

TEST(Silence, BothBodiesFindWhatThePlainTestFinds)
{
    std::vector<const NV::LoudMasker*> bodies = {&NV::loudMaskerSse2};
    if (NV::CpuHasAvx2())
        bodies.push_back(&NV::loudMaskerAvx2);
    std::vector<i16> samples = RandomSamples(1, 2 * 1000);
    const i16 edges[] = {0, 1, -1, 327, -327, 328, -328, 32766, 32767, -32767, -32768};
    std::copy(std::begin(edges), std::end(edges), samples.begin() + 61);
    for (const int level : {-5, 0, 1, 2, 327, 328, 32766, 32767, 32768, 32769}) {
        for (const int channels : {1, 2}) {
            for (const int frames : {0, 1, 63, 64, 65, 777, 1000}) {
                SCOPED_TRACE(testing::Message()
                             << "level " << level << " channels " << channels << " frames " << frames);
                const std::vector<i16> used(samples.begin() + 1,
                                            samples.begin() + 1 + frames * channels - (frames == 1000));
                const auto loudness = LoudnessOf(used, channels);
                std::vector<u64> expected((loudness.size() + 63) / 64);
                for (std::size_t k = 0; k < loudness.size(); ++k)
                    expected[k / 64] |= u64(loudness[k] >= level) << (k % 64);
                for (const NV::LoudMasker* body : bodies) {
                    std::vector<u64> masks(expected.size(), 0x5555);
                    NV::FindLoudFrames(masks.data(), used.data(), static_cast<i64>(loudness.size()), channels, level,
                                       *body);
                    EXPECT_EQ(masks, expected);
                }
            }
        }
    }
}

TEST(Silence, RandomStreamsGiveWhatThePlainRuleGives)
{
    for (unsigned seed = 0; seed < 60; ++seed) {
        const int channels = 1 + static_cast<int>(seed % 2);
        const int rates[] = {44100, 8000, 3840, 3839, 600, 61, 60, 59, 0, -100};
        const int rate = rates[seed % 10];
        const std::size_t count = seed < 4 ? 150'000 : 5'000 + seed * 37; // more than a piece, and not a whole one
        const auto samples = RandomSamples(seed, count * static_cast<unsigned>(channels), seed % 3 ? 3000 : 90);
        const auto loudness = LoudnessOf(samples, channels);
        for (const double threshold : {0.01, 0.0031, 0.9, 0.0, 2.0}) {
            for (const double minSeconds : {0.01, 0.05, 0.0014513, 0.0, -1.0}) {
                SCOPED_TRACE(testing::Message() << "seed " << seed << " rate " << rate << " threshold " << threshold
                                                << " minimum " << minSeconds);
                const List expected = PlainScan(threshold, minSeconds, loudness, rate);
                if (channels == 1) {
                    ASSERT_EQ(CSoundFile::ScanForSilence(threshold, minSeconds, samples, rate), expected);
                }
                if (rate >= 0) {
                    MemorySound sound(channels, rate, samples);
                    sound.position = 5;
                    ASSERT_EQ(sound.ScanFileForSilence(threshold, minSeconds), expected);
                    ASSERT_EQ(sound.position, 5);
                }
            }
            MemorySound sound(channels, 44100, samples);
            const int level = static_cast<int>(threshold * 32767.0);
            const auto isLoud = [&](int value) { return value >= level; };
            const auto first = std::find_if(loudness.begin(), loudness.end(), isLoud);
            const auto last = std::find_if(loudness.rbegin(), loudness.rend(), isLoud);
            const bool none = first == loudness.end();
            EXPECT_EQ(sound.ScanForFirstSound(threshold), none ? -1 : first - loudness.begin());
            EXPECT_EQ(sound.ScanForLastSound(threshold), none ? -1 : loudness.rend() - last - 1);
        }
    }
}

TEST(Silence, OtherFormatsHaveNone)
{
    struct Case {
        int channels, bits, align;
    };
    for (const Case c : {Case{2, 8, 2}, Case{3, 16, 6}, Case{0, 16, 0}, Case{2, 16, 2}, Case{1, 16, 65535}}) {
        MemorySound sound(1, 44100, std::vector<i16>(50000));
        WAVEFORMATEX format = sound.GetFormat();
        format.nChannels = static_cast<WORD>(c.channels);
        format.wBitsPerSample = static_cast<WORD>(c.bits);
        format.nBlockAlign = static_cast<WORD>(c.align);
        sound.SetFormat(format);
        EXPECT_TRUE(sound.ScanFileForSilence(0.5, 0.1).empty()) << c.channels << ' ' << c.bits << ' ' << c.align;
        EXPECT_EQ(sound.ScanForFirstSound(0), -1);
        EXPECT_EQ(sound.ScanForLastSound(0), -1);
    }
}
