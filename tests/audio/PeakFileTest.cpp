// Peak files against their plain rules: the bytes for all formats and sector sizes, after edits, and the points; the
// bodies of the kernel against a loop.
#include "CpuFeatures.h"
#include "WaveFile.h"
#include "audio/PeakKernel.h"
#include "support/NotCancelled.h"
#include "support/PeakReference.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

namespace {

constexpr SampleFormat formats[] = {{8, 1}, {8, 2}, {16, 1}, {16, 2}};

/// Sets the cap of the buffers for one test.
class BufferCap {
public:
    explicit BufferCap(int bytes) { CPeakFile::c_nPFMaxInBufSize = bytes; }
    ~BufferCap() { CPeakFile::c_nPFMaxInBufSize = 10'000'000; }
    BufferCap(const BufferCap&) = delete;
    BufferCap& operator=(const BufferCap&) = delete;
};

/// -1 when there is none: long files make poor messages.
std::ptrdiff_t FirstDifference(const Bytes& a, const Bytes& b)
{
    const auto [inA, inB] = std::mismatch(a.begin(), a.end(), b.begin(), b.end());
    return inA == a.end() && inB == b.end() ? -1 : inA - a.begin();
}

std::string WriteWave(const TempFolder& folder, const char* name, SampleFormat format, Bytes frames)
{
    CWaveFile file;
    EXPECT_TRUE(file.Open(folder.Path(name).c_str(), CFile::modeCreate | CFile::modeReadWrite));
    file.SetFormat(format.Wave());
    const int count = static_cast<int>(frames.size()) / format.FrameBytes();
    EXPECT_EQ(file.Write(frames.data(), count), count);
    return folder.Path(name);
}

} // namespace

TEST(PeakFile, HasTheBytesOfThePlainRule)
{
    std::mt19937 random(1);
    for (const SampleFormat format : formats) {
        for (const int sectorSize : {1, 7, 100, 65535, 70000}) {
            for (const int cap : {10'000'000, 400 * 100, 1000, 1}) {
                const BufferCap capped(cap);
                const int buffer = cap / format.FrameBytes(), piece = (256 << 10) / format.FrameBytes();
                for (const int length : {0, 1, sectorSize - 1, sectorSize, sectorSize + 1, 3 * sectorSize + 5,
                                         buffer - 1, buffer, buffer + sectorSize + 1, piece, piece + 1}) {
                    if (length < 0 || length > (cap < 100 ? 2000 : 300'000))
                        continue;
                    ByteSound sound(format, RandomFrames(random, format, length));
                    CPeakFile peaks;
                    ASSERT_EQ(peaks.Create("a.wav", &sound, sectorSize, false, NotCancelled), 1);
                    ASSERT_EQ(FirstDifference(BytesOf(peaks), PlainPeakFile(sound.audio, format, sectorSize)), -1)
                        << format.bits << " bits, " << format.channels << " channels, sectors of " << sectorSize << ", "
                        << length << " frames, cap " << cap;
                }
            }
        }
    }
}

/// The file that docs/formats.md shows.
TEST(PeakFile, HasTheBytesOfTheFormatsPage)
{
    ByteSound sound({16, 1}, Bytes(200));
    sound.audio[0] = 5;
    sound.audio[14] = 0xFD;
    sound.audio[15] = 0xFF;
    const Bytes page = {8, 0, 1, 0, 16, 1, 100, 0, 0, 0, 5, 0, 7, 0, 0xFD, 0xFF};
    CPeakFile peaks;
    ASSERT_EQ(peaks.Create("a.wav", &sound, -1, false, NotCancelled), 1);
    EXPECT_EQ(BytesOf(peaks), page);
}

/// As a damaged header may say: memory for what is read at a time stays small, and does not overflow.
TEST(PeakFile, FramesMayLieFarApart)
{
    std::mt19937 random(3);
    const Bytes samples = RandomFrames(random, formats[0], 321);
    for (const std::size_t apart : {std::size_t{7}, std::size_t{0xFF01}}) {
        ByteSound sound(formats[0], Bytes(samples.size() * apart));
        for (std::size_t k = 0; k < samples.size(); ++k)
            sound.audio[k * apart] = samples[k];
        WAVEFORMATEX described = formats[0].Wave();
        described.nBlockAlign = static_cast<WORD>(apart);
        sound.SetFormat(described);
        CPeakFile peaks;
        ASSERT_EQ(peaks.Create("a.wav", &sound, -1, false, NotCancelled), 1);
        EXPECT_EQ(BytesOf(peaks), PlainPeakFile(samples, formats[0], 100)) << apart;
    }
}

TEST(PeakFile, IsTheSameWithTwoLanes)
{
    const TempFolder folder;
    std::mt19937 random(2);
    for (const SampleFormat format : formats) {
        const Bytes frames = RandomFrames(random, format, 3'000'011 / format.channels);
        const Bytes more = RandomFrames(random, format, 2'500'000 / format.channels);
        Bytes all = frames;
        all.insert(all.end(), more.begin(), more.end());
        const std::string path = WriteWave(folder, "a.wav", format, all);
        for (const int sectorSize : {3, 100, 5000}) {
            CPeakFile peaks;
            ASSERT_EQ(peaks.Create(path.c_str(), nullptr, sectorSize, false, NotCancelled), 1);
            ASSERT_EQ(FirstDifference(BytesOf(peaks), PlainPeakFile(all, format, sectorSize)), -1)
                << format.bits << ", " << format.channels;
        }
    }
}

TEST(PeakFile, EditsLeaveWhatAFreshScanGives)
{
    std::mt19937 random(3);
    for (const SampleFormat format : formats) {
        for (const bool onDisk : {false, true}) {
            const TempFolder folder;
            const auto bytesOf = [&](i64 frames) { return static_cast<std::ptrdiff_t>(frames) * format.FrameBytes(); };
            const BufferCap capped(20'000);
            ByteSound sound(format, RandomFrames(random, format, 9'000));
            const int sectorSize = onDisk ? 100 : 7;
            CPeakFile peaks;
            peaks.SetMemoryOnly(!onDisk);
            ASSERT_EQ(peaks.Create(folder.Path("a.wav").c_str(), &sound, sectorSize, false, NotCancelled), 1);
            ASSERT_EQ(FirstDifference(BytesOf(peaks), PlainPeakFile(sound.audio, format, sectorSize)), -1);
            for (int round = 0; round < 120; ++round) {
                const int length = static_cast<int>(sound.GetLength());
                const int at = static_cast<int>(random() % static_cast<unsigned>(length + 1));
                int count = static_cast<int>(random() % 900);
                const auto place = sound.audio.begin() + bytesOf(at);
                const auto kind = random() % 3;
                if (kind == 0) {
                    count = std::min(count, length - at);
                    sound.audio.erase(place, place + bytesOf(count));
                    ASSERT_EQ(peaks.Cut(at), 1);
                } else if (kind == 1) {
                    const Bytes frames = RandomFrames(random, format, count);
                    sound.audio.insert(place, frames.begin(), frames.end());
                    ASSERT_EQ(peaks.Insert(at), 1);
                } else { // the peaks learn of it before the audio, or after it
                    Bytes frames = RandomFrames(random, format, count);
                    const bool before = random() % 2;
                    const auto tell = [&] { return peaks.OvrWrite(frames.data(), at, count); };
                    ASSERT_TRUE(!before || tell() == 1);
                    if (at + count > length)
                        sound.audio.resize(static_cast<std::size_t>(bytesOf(at + count)));
                    std::copy(frames.begin(), frames.end(), sound.audio.begin() + bytesOf(at));
                    ASSERT_TRUE(before || tell() == 1);
                }
                ASSERT_EQ(FirstDifference(BytesOf(peaks), PlainPeakFile(sound.audio, format, sectorSize)), -1)
                    << "round " << round << ", edit " << kind << " of " << count << " frames at " << at << " of "
                    << length;
            }
            const Bytes before = BytesOf(peaks);
            EXPECT_EQ(peaks.Cut(static_cast<int>(sound.GetLength()) + 1), 0);
            EXPECT_EQ(peaks.Insert(-1), 0);
            EXPECT_EQ(peaks.OvrWrite(nullptr, 0, 1), 0);
            EXPECT_EQ(BytesOf(peaks), before);
            const Points all(peaks, format.bits, format.channels, 0, 10, 300);
            EXPECT_EQ(std::pair(all.minima, all.maxima), PlainPoints(before, 0, 10, 300));
            sound.readsLeft = 0; // an edit that fails leaves no peaks
            EXPECT_EQ(peaks.Insert(1), 0);
            EXPECT_FALSE(peaks.HasPeaks());
            EXPECT_TRUE(std::filesystem::is_empty(folder.Path()));
        }
    }
}

TEST(PeakFile, PointsFollowThePlainRule)
{
    std::mt19937 random(4);
    for (const SampleFormat format : formats) {
        for (const int sectorSize : {1, 7, 100}) {
            for (const int cap : {10'000'000, 1500, 16}) {
                const int length = 20'000 * sectorSize / (sectorSize + 3) + 77;
                ByteSound sound(format, RandomFrames(random, format, length));
                CPeakFile peaks;
                ASSERT_EQ(peaks.Create("a.wav", &sound, sectorSize, false, NotCancelled), 1);
                const Bytes file = BytesOf(peaks);
                const BufferCap capped(cap);
                for (int round = 0; round < 150; ++round) {
                    const int first = static_cast<int>(random() % static_cast<unsigned>(length + 200));
                    const int zoom = 1 + static_cast<int>(random() % (round % 2 ? 40'000U : 3U * unsigned(sectorSize)));
                    const int count = static_cast<int>(random() % 200);
                    const Points points(peaks, format.bits, format.channels, first, count, zoom);
                    ASSERT_EQ(std::pair(points.minima, points.maxima), PlainPoints(file, first, count, zoom))
                        << count << " points of " << zoom << " frames from " << first << " of " << length;
                    ASSERT_EQ(points.left, count - static_cast<int>(points.minima.size()) / format.channels);
                }
                const int zoom = 3 * sectorSize; // whole sectors: nothing is lost
                const Points points(peaks, format.bits, format.channels, 5 * sectorSize, 50, zoom);
                for (std::size_t k = 0; k < points.minima.size(); ++k) {
                    int min = 32767, max = -32768;
                    const int channel = static_cast<int>(k) % format.channels;
                    const i64 from = 5 * sectorSize + static_cast<i64>(k) / format.channels * zoom;
                    for (i64 frame = from; frame < std::min<i64>(from + zoom, length); ++frame) {
                        min = std::min(min, SampleOf(sound.audio, format, frame, channel));
                        max = std::max(max, SampleOf(sound.audio, format, frame, channel));
                    }
                    ASSERT_EQ(std::pair(points.minima[k], points.maxima[k]), std::pair(min, max));
                }
            }
        }
    }
}

TEST(PeakFile, PointsOutOfRange)
{
    ByteSound sound({16, 1}, Bytes(2 * 1000));
    CPeakFile peaks;
    i16 low[8], high[8];
    EXPECT_EQ(peaks.GetData(0, 1, 100, low, high), -1); // no peaks yet
    ASSERT_EQ(peaks.Create("a.wav", &sound, -1, false, NotCancelled), 1);
    EXPECT_EQ(peaks.GetSectorSize(), 100);
    EXPECT_EQ(peaks.GetSectorCount(), 10);
    EXPECT_EQ(peaks.GetData(-1, 1, 100, low, high), -1);
    EXPECT_EQ(peaks.GetData(0, -1, 100, low, high), -1);
    EXPECT_EQ(peaks.GetData(0, 1, 0, low, high), -1);
    EXPECT_EQ(peaks.GetData(0, 0, 100, low, high), 0);
    EXPECT_EQ(peaks.GetData(1000, 3, 100, low, high), 3);
    EXPECT_EQ(peaks.GetData(900, 3, 100, low, high), 2);
    EXPECT_EQ(peaks.GetPoints(i64(1) << 40, 8, INT_MAX, low, high), 8);
    EXPECT_EQ(peaks.GetData(0, INT_MAX, INT_MAX, low, high), INT_MAX - 1);
    low[0] = 5;
    EXPECT_EQ(peaks.GetData(1, 1, 50, low, high), 0); // no extreme lies there
    EXPECT_EQ(low[0], 32767);
    EXPECT_EQ(high[0], -32768);
}

TEST(PeakKernel, BodiesAgreeWithALoop)
{
    std::mt19937 random(6);
    for (const SampleFormat format : formats) {
        for (int round = 0; round < 4000; ++round) {
            const int frames = 1 + round % 331;
            Bytes bytes = RandomFrames(random, format, frames + 1);
            const unsigned offset = round % 3 ? 0 : 1; // at an odd address, too
            bytes.insert(bytes.begin(), offset, u8(0));
            const std::span<const u8> samples = std::span(bytes).subspan(offset);
            NV::BlockExtremes wanted{};
            for (int c = 0; c < format.channels; ++c) {
                for (int frame = frames - 1; frame >= 0; --frame) {
                    const int value = SampleOf(samples, format, frame, c);
                    if (frame == frames - 1 || value >= wanted.max[c]) {
                        wanted.max[c] = value;
                        wanted.maxAt[c] = static_cast<u32>(frame);
                    }
                    if (frame == frames - 1 || value <= wanted.min[c]) {
                        wanted.min[c] = value;
                        wanted.minAt[c] = static_cast<u32>(frame);
                    }
                }
            }
            for (const NV::PeakFinder* finder : {&NV::peakFinderSse2, &NV::peakFinderAvx2}) {
                if (finder == &NV::peakFinderAvx2 && !NV::CpuHasAvx2())
                    continue;
                NV::BlockExtremes found{};
                finder->For(format.bits == 8, format.channels)(samples.data(), frames, found);
                ASSERT_EQ(std::memcmp(&found, &wanted, sizeof found), 0)
                    << format.bits << " bits, " << format.channels << " channels, " << frames << " frames";
            }
        }
    }
}
