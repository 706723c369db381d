// Disc images as sound files: positions, and reading and writing against the plain rule, one sector at a time.
#include "BinFile.h"
#include "support/Noise.h"
#include "support/SoundSamples.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

namespace {

/// The reading rule as it reads.
int PlainRead(CFile& file, u8* to, int frames)
{
    i64 wanted = i64(frames) * 4;
    int counted = 0;
    while (wanted > 0) {
        const i64 at = static_cast<i64>(file.GetPosition());
        const i64 audio = 2448 * (at / 2448) - at + 2352;
        if (audio < 1) {
            file.Seek(96, CFile::current);
            continue;
        }
        const UINT piece = static_cast<UINT>(std::min(audio, wanted));
        if (file.Read(to, piece) < piece)
            break;
        counted += static_cast<int>(piece / 4);
        to += piece;
        wanted -= piece;
        if (piece == audio)
            file.Seek(96, CFile::current);
    }
    return counted;
}

/// And the writing rule, into a string; returns the position behind.
std::size_t PlainWrite(std::string& image, std::size_t at, const std::string& bytes)
{
    const auto put = [&](const std::string& part) {
        image.resize(std::max(image.size(), at + part.size()));
        image.replace(at, part.size(), part);
        at += part.size();
    };
    for (std::size_t done = 0; done < bytes.size();) {
        const std::size_t audio = 2352 - at % 2448, piece = std::min(audio, bytes.size() - done);
        put(bytes.substr(done, piece));
        if (piece == audio)
            put(std::string(96, '\0'));
        done += piece;
    }
    return at;
}

/// Fails from the n-th read or write on, counted from 1.
class FailingFile : public CMemFile {
public:
    explicit FailingFile(const std::string& bytes) { CMemFile::Write(bytes.data(), static_cast<UINT>(bytes.size())); }
    UINT Read(void* buffer, UINT count) override
    {
        if (--callsLeft < 0)
            AfxThrowFileException(CFileException::hardIO);
        return CMemFile::Read(buffer, count);
    }
    int callsLeft = 1 << 30;
};

} // namespace

TEST(BinFile, PositionsAndLengths)
{
    struct Position {
        i64 byte, frame;
    };
    for (const Position p :
         {Position{0, 0}, Position{7, 1}, Position{2351, 587}, Position{2352, 588}, Position{2400, 588},
          Position{2447, 588}, Position{2448, 588}, Position{2452, 589}, Position{i64(1) << 40, 264098381200}})
        EXPECT_EQ(CBinFile::FilePointerToSample(p.byte), p.frame) << p.byte;

    const std::string bytes = Noise(1, 3 * 2448);
    struct Length {
        std::size_t bytes;
        i64 frames;
    };
    for (const Length l :
         {Length{0, 0}, Length{1, 0}, Length{4, 1}, Length{2400, 600}, Length{2448, 588}, Length{4896 + 8, 1178}}) {
        FailingFile file(bytes.substr(0, l.bytes));
        CBinFile bin;
        ASSERT_TRUE(bin.Open(&file));
        EXPECT_EQ(bin.GetLength(), l.frames) << l.bytes;
    }

    FailingFile file(bytes);
    CBinFile bin;
    ASSERT_TRUE(bin.Open(&file));
    struct Move {
        i64 raw, frames;
        int from;
        i64 result;
        ULONGLONG byte;
    };
    for (const Move m : {Move{9, 588, 0, 588, 2448}, Move{9, 587, 0, 587, 2348}, Move{9, -5, 0, 0, 0},
                         Move{2448, 0, 1, 612, 2544}, Move{2448, 0, 2, 612, 2544}, Move{2348, 0, 1, 587, 2348},
                         Move{2348, 0, 2, 587, 2348}, Move{100, 10, 1, 35, 140}, Move{100, 10, 2, 15, 60},
                         Move{100, 26, 2, 0, 0}, Move{100, INT64_MAX, 0, -1, 100}, Move{100, 1, 3, -1, 100}}) {
        file.Seek(static_cast<LONGLONG>(m.raw), CFile::begin);
        EXPECT_EQ(bin.Seek(m.frames, m.from), m.result) << m.raw << ' ' << m.frames << ' ' << m.from;
        EXPECT_EQ(file.GetPosition(), m.byte) << m.raw << ' ' << m.frames << ' ' << m.from;
    }
}

TEST(BinFile, ReadsByTheRuleFromAnywhere)
{
    const std::string image = Noise(2, 300 * 2448);
    std::mt19937 random(3);
    for (const std::size_t length : {std::size_t(0), std::size_t(2400), std::size_t(2448 * 5 + 1000),
                                     std::size_t(2448 * 300 - 50), image.size()}) {
        FailingFile plain(image.substr(0, length)), ours(image.substr(0, length));
        CBinFile bin;
        ASSERT_TRUE(bin.Open(&ours));
        for (int round = 0; round < 60; ++round) {
            const LONGLONG at =
                static_cast<LONGLONG>(random() % (length + 3000)) / (round % 3 ? 1 : 2448) * (round % 3 ? 1 : 2448);
            const int frames = static_cast<int>(random() % (round % 4 ? 3000 : 200'000)) - 2;
            SCOPED_TRACE(testing::Message() << length << ' ' << at << ' ' << frames);
            plain.Seek(at, CFile::begin);
            ours.Seek(at, CFile::begin);
            std::vector<u8> expected(static_cast<std::size_t>(std::max(frames, 0)) * 4), got(expected);
            const int count = PlainRead(plain, expected.data(), frames);
            ASSERT_EQ(bin.Read(got.data(), frames), count);
            ASSERT_TRUE(std::equal(expected.begin(), expected.begin() + count * 4, got.begin()));
            ASSERT_EQ(ours.GetPosition(), plain.GetPosition());
        }
    }
}

TEST(BinFile, WritesByTheRuleAndClearsSubcode)
{
    const TempFolder folder;
    std::string image = Noise(4, 40 * 2448);
    folder.Write("a.bin", image);
    CBinFile bin;
    ASSERT_TRUE(bin.Open(folder.Path("a.bin").c_str(), CFile::modeReadWrite));
    FailingFile other(Noise(5, 5000));
    std::mt19937 random(6);
    for (int round = 0; round < 25; ++round) {
        const i64 frame = static_cast<i64>(random() % (60 * 588));
        const int frames = static_cast<int>(random() % (round % 3 ? 2000 : 150'000));
        std::string bytes = Noise(static_cast<unsigned>(round), static_cast<std::size_t>(frames) * 4);
        ASSERT_EQ(bin.Seek(frame, 0), frame);
        ASSERT_EQ(bin.Write(bytes.data(), frames), frames);
        const std::size_t end = PlainWrite(image, static_cast<std::size_t>(frame * 4 + 96 * (frame / 588)), bytes);
        ASSERT_EQ(bin.GetPosition(), CBinFile::FilePointerToSample(static_cast<i64>(end)));
        ASSERT_EQ(bin.GetFile()->GetPosition(), end);
    }
    bin.Close();
    EXPECT_TRUE(folder.Read("a.bin") == image);
}

TEST(BinFile, FailuresAreReturned)
{
    const TempFolder folder;
    CBinFile bin;
    u8 buffer[8000] = {};
    EXPECT_FALSE(bin.Open(folder.Path().c_str(), CFile::modeRead)) << "a folder";
    EXPECT_FALSE(bin.Open(folder.Path("none.bin").c_str(), CFile::modeReadWrite));
    EXPECT_FALSE(bin.Open(static_cast<CFile*>(nullptr)));
    EXPECT_TRUE(bin.Read(buffer, 5) == 0 && bin.Write(buffer, 5) == 0 && bin.Seek(5, 0) == -1 && bin.GetLength() == 0 &&
                bin.GetPosition() == 0);

    FailingFile file(Noise(7, 10 * 2448));
    ASSERT_TRUE(bin.Open(&file));
    EXPECT_EQ(bin.Write(buffer, 5), 0) << "writing goes to the image opened by name, and there is none";
    for (int works = 0; works < 3; ++works) {
        file.SeekToBegin();
        file.callsLeft = works;
        EXPECT_EQ(bin.Read(buffer, 600), works == 0 ? 0 : works == 1 ? 588 : 600);
    }
    file.callsLeft = 100;
    EXPECT_EQ(bin.Seek(0, 0), 0);
    EXPECT_EQ(bin.Read(buffer, 600), 600) << "it can be tried again";

    folder.Write("a.bin", Noise(8, 2448));
    ASSERT_TRUE(bin.Open(folder.Path("a.bin").c_str(), CFile::modeRead));
    EXPECT_EQ(bin.Write(buffer, 5), 0);
    EXPECT_EQ(bin.GetPosition(), 0);
}
