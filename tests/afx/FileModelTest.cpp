// Random reads, writes, seeks and length changes on both kinds of file, each step held against a plain model.
#include "CauseOf.h"
#include "support/TempFolder.h"

#include <afx.h>
#include <algorithm>
#include <gtest/gtest.h>
#include <random>
#include <vector>

namespace {

struct PlainFile {
    std::vector<unsigned char> bytes;
    std::size_t position = 0;

    std::vector<unsigned char> Read(UINT count)
    {
        const std::size_t from = std::min(position, bytes.size());
        const std::size_t to = std::min(from + count, bytes.size());
        position += to - from;
        return {bytes.begin() + std::ptrdiff_t(from), bytes.begin() + std::ptrdiff_t(to)};
    }
    void Write(const std::vector<unsigned char>& data)
    {
        if (!data.empty() && bytes.size() < position + data.size())
            bytes.resize(position + data.size());
        std::copy(data.begin(), data.end(), bytes.begin() + std::ptrdiff_t(data.empty() ? 0 : position));
        position += data.size();
    }
};

void RunAgainstModel(CFile& file, unsigned seed, bool setLengthMovesToEnd)
{
    std::mt19937 random(seed);
    const auto below = [&](UINT limit) { return static_cast<UINT>(random() % limit); };
    PlainFile model;
    for (int step = 0; step < 3000 && !::testing::Test::HasFailure(); ++step) {
        SCOPED_TRACE(step);
        const UINT amount = below(3000);
        switch (below(6)) {
        case 0:
        case 1: {
            std::vector<unsigned char> data(amount);
            std::generate(data.begin(), data.end(), [&] { return static_cast<unsigned char>(random() | 1); });
            file.Write(data.data(), amount);
            model.Write(data);
            break;
        }
        case 2: {
            std::vector<unsigned char> got(amount);
            got.resize(file.Read(got.data(), amount));
            EXPECT_EQ(got, model.Read(amount));
            break;
        }
        case 3: { // from any origin, also past the end and before the beginning
            const UINT from = below(3);
            const LONGLONG offset = LONGLONG(below(8000)) - (from == CFile::begin ? 1000 : 6000);
            const ULONGLONG origin = from == 0 ? 0 : from == 1 ? model.position : model.bytes.size();
            const bool reachable = LONGLONG(origin) + offset >= 0;
            EXPECT_EQ(CauseOf([&] { file.Seek(offset, from); }),
                      reachable ? CFileException::none : CFileException::badSeek);
            if (reachable)
                model.position = std::size_t(LONGLONG(origin) + offset);
            break;
        }
        case 4: {
            const std::size_t length = below(2) == 0 ? amount : model.bytes.size() + amount % 100;
            file.SetLength(length);
            model.bytes.resize(length);
            model.position = setLengthMovesToEnd ? length : std::min(model.position, length);
            break;
        }
        default:
            EXPECT_EQ(file.GetLength(), model.bytes.size());
        }
        EXPECT_EQ(file.GetPosition(), model.position);
    }
    file.SeekToBegin();
    std::vector<unsigned char> all(model.bytes.size() + 1);
    all.resize(file.Read(all.data(), UINT(all.size())));
    EXPECT_EQ(all, model.bytes);
}

} // namespace

TEST(FileModel, DiskFile)
{
    for (unsigned seed = 1; seed <= 3; ++seed) {
        SCOPED_TRACE(seed);
        const TempFolder folder;
        CFile file(folder.Path("file").c_str(), CFile::modeCreate | CFile::modeReadWrite);
        RunAgainstModel(file, seed, true);
    }
}

TEST(FileModel, MemoryFileWithAnyStep)
{
    for (const UINT growBytes : {1U, 7U, 1024U, 1U << 20}) {
        SCOPED_TRACE(growBytes);
        CMemFile file(growBytes);
        RunAgainstModel(file, growBytes, false);
    }
}
