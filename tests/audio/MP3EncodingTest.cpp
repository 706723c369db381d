// EncodeMP3: the file is there when it is whole and not otherwise, and stretches joined make one stream.
#include "MP3Encoding.h"
#include "MP3OutFile.h"
#include "MPEGAudio.h"
#include "support/SmallDisk.h"
#include "support/SoundSamples.h"
#include "support/TempFolder.h"

#include <cmath>
#include <gtest/gtest.h>
#include <utility>

namespace {

/// Music of a kind: tones whose loudness wanders, so that frames lend each other room.
std::vector<i16> Tune(int frames)
{
    std::vector<i16> samples(static_cast<std::size_t>(frames) * 2);
    std::mt19937 random(7);
    for (std::size_t k = 0; k < samples.size() / 2; ++k) {
        const double t = static_cast<double>(k) / 44100;
        const double loud = 0.5 + 0.5 * std::sin(t * 1.3);
        const double noise = static_cast<double>(random() % 2000) - 1000;
        const double left =
            9000 * loud * std::sin(t * 2764.6) + 4000 * std::sin(t * 6911 + 3 * std::sin(t * 5)) + noise;
        samples[2 * k] = static_cast<i16>(left);
        samples[2 * k + 1] = static_cast<i16>(left / 2 + 3000 * std::sin(t * 1382.3));
    }
    return samples;
}

MP3EncodingJob JobOf(const std::vector<i16>& samples, const std::string& path)
{
    MP3EncodingJob job;
    job.open = [&samples] { return std::make_unique<MemorySound>(2, 44100, samples); };
    job.path = path.c_str();
    CMP3OutFile::InitBEConfig(&job.config);
    return job;
}

TEST(MP3Encoding, StretchesMakeOneStream)
{
    const std::vector<i16> tune = Tune(44100 * 60);
    const TempFolder folder;
    struct Case {
        const char* name;
        int threads, quality, bitrate, mode;
    };
    const Case cases[] = {{"two, constant", 2, -1, 192, BE_MP3_MODE_STEREO},
                          {"two, joint stereo", 2, -1, 128, BE_MP3_MODE_JSTEREO},
                          {"two, variable", 2, 3, 32, BE_MP3_MODE_JSTEREO}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        MP3EncodingJob job = JobOf(tune, folder.Path("one.mp3"));
        job.config.format.LHV1.nMode = c.mode;
        job.config.format.LHV1.dwBitrate = static_cast<DWORD>(c.bitrate);
        job.config.format.LHV1.bEnableVBR = c.quality >= 0;
        job.config.format.LHV1.nVBRQuality = c.quality;
        ASSERT_EQ(EncodeMP3(job), MP3EncodingResult::done);
        job.path = folder.Path("many.mp3").c_str();
        job.threads = c.threads;
        ASSERT_EQ(EncodeMP3(job), MP3EncodingResult::done);
        const std::string one = folder.Read("one.mp3"), many = folder.Read("many.mp3");
        EXPECT_TRUE(one != many || c.threads == 1); // it was not simply encoded in one
        // Up to the first joint all frames but the one with the tag are the same.
        const std::size_t same = one.size() / static_cast<std::size_t>(c.threads) * 3 / 4;
        EXPECT_TRUE(one.compare(1500, same - 1500, many, 1500, same - 1500) == 0);
        MPEGVBRClaim plain, joined;
        ASSERT_TRUE(ReadVBRClaim(folder.Path("one.mp3").c_str(), plain));
        ASSERT_TRUE(ReadVBRClaim(folder.Path("many.mp3").c_str(), joined));
        EXPECT_EQ(plain.frames, joined.frames);
        EXPECT_EQ(joined.bytes, many.size());
        EXPECT_NEAR(static_cast<double>(many.size()), static_cast<double>(one.size()),
                    static_cast<double>(one.size()) / 100);
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.Path()), {}), 2);
    }
}

TEST(MP3Encoding, WhatIsNotDoneLeavesNothing)
{
    const std::vector<i16> tune = Tune(44100 * 60);
    const TempFolder folder;
    const auto files = [&] { return std::distance(std::filesystem::directory_iterator(folder.Path()), {}); };
    CString problem;
    for (const int threads : {1, 2}) {
        MP3EncodingJob job = JobOf(tune, folder.Path("a.mp3"));
        job.threads = threads;
        job.progress = [](double part) { return part > 0.02; };
        EXPECT_EQ(EncodeMP3(job, &problem), MP3EncodingResult::cancelled);
        job.progress = [](double) -> bool { throw std::runtime_error("from the caller"); };
        EXPECT_THROW(EncodeMP3(job), std::runtime_error);
        job.progress = nullptr;
        job.path = folder.Path("none/a.mp3").c_str();
        EXPECT_EQ(EncodeMP3(job, &problem), MP3EncodingResult::badTarget);
        EXPECT_FALSE(problem.IsEmpty());
        job.open = [] { return nullptr; };
        EXPECT_EQ(EncodeMP3(job), MP3EncodingResult::badSource);
        EXPECT_EQ(files(), 0) << threads;

        job = JobOf(tune, folder.Path("gone/a.mp3"));
        job.threads = threads;
        std::filesystem::create_directory(folder.Path("gone"));
        bool tried = false, kept = false; // where files that are open keep their folder
        job.progress = [&](double) {
            if (!std::exchange(tried, true)) {
                std::error_code unsaid; // not every library tells that it could not
                std::filesystem::remove_all(folder.Path("gone"), unsaid);
                kept = std::filesystem::exists(folder.Path("gone"));
            }
            return false;
        };
        const MP3EncodingResult result = EncodeMP3(job);
        EXPECT_TRUE(result == MP3EncodingResult::badTarget || (kept && result == MP3EncodingResult::done));
        std::filesystem::remove_all(folder.Path("gone"));

        const SmallDisk disk(256);
        if (!disk.Works())
            continue;
        job = JobOf(tune, disk.Folder().Path("full.mp3"));
        job.threads = threads;
        EXPECT_EQ(EncodeMP3(job, &problem), MP3EncodingResult::badTarget);
        EXPECT_NE(problem.Find("disk full"), -1) << problem;
        EXPECT_TRUE(std::filesystem::is_empty(disk.Folder().Path())) << threads;
    }
    MP3EncodingJob brief = JobOf(tune, folder.Path("brief.mp3")); // too short to be divided
    const std::vector<i16> little(tune.begin(), tune.begin() + 2000);
    brief.open = [&little] { return std::make_unique<MemorySound>(2, 44100, little); };
    brief.threads = 4;
    EXPECT_EQ(EncodeMP3(brief), MP3EncodingResult::done);
    EXPECT_EQ(files(), 1);
}

} // namespace
