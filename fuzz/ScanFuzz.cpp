// Scanning, loading and comparing streams of any bytes: the scanner and the analyser find what the plain rules find, a
// thumbprint equals itself, and whatever is given for a thumbprint is compared the same both ways or refused both ways.
//
// Input: a style byte, then packs of 24 bytes or a thumbprint. Style: bit 0 a disc image, bit 1 a thumbprint of the
// packs repeated to two images, bit 2 the bytes themselves as a thumbprint, bits 7-4 a place to cancel at.
#include "CDGAnalyzer.h"
#include "CDGScanner.h"
#include "Check.h"
#include "Scratch.h"
#include "support/MemoryFile.h"
#include "support/PlainScanner.h"

#include <algorithm>

namespace {

constexpr std::size_t maxPacks = 90; // bounds the plain rules' work on one input

const ScratchFolder& Scratch()
{
    static const ScratchFolder folder;
    return folder;
}

PlainScan Results(const CCDGScanner& scanner)
{
    PlainScan scan;
    for (const CDGScreenInfo& screen : scanner.m_Screens)
        scan.screens.push_back({screen.lastPack, screen.lines});
    scan.activity.assign(scanner.m_ActivityRanges.begin(), scanner.m_ActivityRanges.end());
    for (const CDGXorTile& tile : scanner.m_XorTiles)
        scan.xorTiles.push_back({tile.pack, tile.column, tile.row});
    return scan;
}

void ScanAndAnalyse(const std::vector<u8>& packs, bool image, int stopAt)
{
    const int count = static_cast<int>(packs.size()) / kPackSize;
    const std::vector<u8> bytes = image ? AsDiscImage(packs) : packs;
    const std::string path = Scratch().Write(image ? "track.bin" : "song.cdg", bytes);
    CCDGScanner scanner;
    scanner.m_nActivityGap = 7;
    FUZZ_CHECK(scanner.ScanFile(path.c_str(), [] { return false; }));
    const PlainScan expected = ScanPlainly(packs, count / kPacksPerRecord * kPacksPerRecord, 7);
    FUZZ_CHECK(Results(scanner) == expected);
    std::vector<std::pair<int, int>> lines;
    scanner.GetScannedLines(stopAt, lines);

    int asked = 0;
    const auto cancel = [&asked, stopAt] { return asked++ == stopAt; };
    CCDGScanner cancelled;
    FUZZ_CHECK(cancelled.ScanFile(path.c_str(), cancel) == (stopAt >= count));
    FUZZ_CHECK(cancelled.m_Screens.size() <= expected.screens.size());

    CFile file;
    FUZZ_CHECK(file.Open(path.c_str(), CFile::modeRead | CFile::shareDenyNone));
    CCDGAnalyzer analyzer;
    FUZZ_CHECK(analyzer.ReadFromFile(&file, stopAt, [] { return false; }));
    std::vector<u8> counted = packs; // an image counts the packs that its last sector has no bytes for, too
    counted.resize(static_cast<std::size_t>(analyzer.m_nPackCount) * kPackSize);
    FUZZ_CHECK(std::equal(counted.begin(), counted.end(), analyzer.m_pRawPacks.get()));
    FUZZ_CHECK(analyzer.m_ClearScreens == CleanScreensPlainly(counted));
    FUZZ_CHECK(analyzer.m_SnapshotImage.IsValid() == (stopAt < analyzer.m_nPackCount));
    CCDGEmulatorPack low, high;
    analyzer.GetPalette(stopAt, low, high);
    FUZZ_CHECK(analyzer.GetFirstActivePackAfter(stopAt) >= std::min(stopAt, analyzer.m_nPackCount));
    analyzer.GetPrevClearScreen(stopAt);
    asked = 0;
    analyzer.ReadFromFile(&file, 0, cancel);
}

void Compare(std::vector<u8> a, std::vector<u8> b)
{
    const int sizeA = static_cast<int>(a.size()), sizeB = static_cast<int>(b.size());
    const int difference = CCDGScanner::GetCDGThumbprintDiff(a.data(), sizeA, b.data(), sizeB);
    FUZZ_CHECK(difference >= -1);
    FUZZ_CHECK(difference == CCDGScanner::GetCDGThumbprintDiff(b.data(), sizeB, a.data(), sizeA));
    const int itself = CCDGScanner::GetCDGThumbprintDiff(a.data(), sizeA, a.data(), sizeA);
    FUZZ_CHECK(itself == 0 || (itself == -1 && difference == -1));
}

std::vector<u8> Thumbprint(const std::vector<u8>& packs, std::size_t count)
{
    std::vector<u8> repeated;
    while (!packs.empty() && repeated.size() < count * kPackSize)
        repeated.insert(repeated.end(), packs.begin(), packs.end());
    repeated.resize(count * kPackSize);
    unsigned char* buffer = nullptr;
    int size = 0;
    FUZZ_CHECK(CCDGScanner::GetCDGThumbprint(Scratch().Write("long.cdg", repeated).c_str(), buffer, size));
    const std::vector<u8> bytes(buffer, buffer + size);
    CCDGScanner::ReleaseCDGThumbprint(buffer);
    return bytes;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const u8* bytes, std::size_t size)
{
    if (size < 1)
        return 0;
    const u8 style = *bytes++;
    --size;
    if (style & 4) {
        static const std::vector<u8> blank = Thumbprint({}, 6001);
        Compare({bytes, bytes + size}, blank);
        return 0;
    }
    const std::size_t packs = std::min(size / kPackSize, maxPacks);
    const std::vector<u8> stream(bytes, bytes + packs * kPackSize);
    if (style & 2) {
        const std::vector<u8> thumbprint = Thumbprint(stream, 12001);
        FUZZ_CHECK(!thumbprint.empty());
        Compare(thumbprint, thumbprint);
        Compare(thumbprint, {bytes, bytes + size});
        return 0;
    }
    ScanAndAnalyse(stream, (style & 1) != 0, (style >> 4) * 8);
    return 0;
}
