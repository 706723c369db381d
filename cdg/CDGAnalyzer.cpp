// A whole CD+G stream in memory: see CDGAnalyzer.h. Packs and bytes.
#include "CDGAnalyzer.h"

#include "IndexScreen.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <new>
#include <string>
#include <string_view>

namespace {

using namespace CDGEmulator;

constexpr int sectorsPerPiece = 100; // 245 KB

bool IsDiscImage(std::string_view path)
{
    const std::size_t dot = path.find_last_of("./\\");
    if (dot == std::string_view::npos || path[dot] != '.')
        return false;
    std::string extension(path.substr(dot + 1));
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return extension == "bin";
}

// Packs in a file; what is beyond an int is far beyond what is loaded.
i64 CountPacks(ULONGLONG length, bool discImage)
{
    const ULONGLONG packs =
        discImage ? (length / kBinRecordSize + (length % kBinRecordSize != 0)) * kPacksPerRecord : length / kPackSize;
    return static_cast<i64>(packs);
}

// Reads up to `size` bytes, however many pieces the file gives them in.
std::size_t ReadAll(CFile& file, u8* to, std::size_t size)
{
    std::size_t done = 0;
    while (done < size) {
        const auto wanted = static_cast<UINT>(std::min<std::size_t>(size - done, 1u << 30));
        const UINT got = file.Read(to + done, wanted);
        done += got;
        if (got < wanted)
            break;
    }
    return done;
}

// Takes the subcode of `sectors` sectors out of an image. False when cancelled; the end of the file is none.
bool ReadSubcode(CFile& file, u8* packs, int sectors, const std::function<bool()>& isCancelled)
{
    const auto piece = std::make_unique_for_overwrite<u8[]>(std::size_t{sectorsPerPiece} * kBinRecordSize);
    for (int sector = 0; sector < sectors; sector += sectorsPerPiece) {
        const int wanted = std::min(sectorsPerPiece, sectors - sector);
        const std::size_t got = ReadAll(file, piece.get(), static_cast<std::size_t>(wanted) * kBinRecordSize);
        for (std::size_t at = kBinRecordSize - kCdgRecordSize; at < got; at += kBinRecordSize) {
            const std::size_t there = std::min<std::size_t>(kCdgRecordSize, got - at);
            std::memcpy(packs, piece.get() + at, there);
            packs += kCdgRecordSize;
            if (there < kCdgRecordSize)
                return true;
            if (isCancelled())
                return false;
        }
        if (got < static_cast<std::size_t>(wanted) * kBinRecordSize)
            return true;
    }
    return true;
}

// Plays a stream and knows at every pack whether the screen is clean. As long as one tile holds anything but index 0 it
// is not, so one such tile is remembered and another looked for only when that one is drawn over.
class CleanScreenWatch {
public:
    const IndexScreen& Screen() const { return screen; }
    bool IsClean() const { return usedTile == none; }

    void Add(const u8* raw)
    {
        screen.Apply(raw);
        if ((raw[0] & kPackBits) != kCommandGraphics)
            return;
        const int instruction = raw[1] & kPackBits;
        const u8* const data = raw + 4;
        if (IsTile(instruction)) {
            const TileBlock tile(data);
            const int place = tile.row * IndexScreen::columns + tile.column;
            if ((usedTile == none || usedTile == place) && IsUsed(tile.row, tile.column))
                usedTile = place;
            else if (usedTile == place)
                Search();
        } else if (instruction == kMemoryPreset && MemoryPreset(data).repeat == 0) {
            usedTile = MemoryPreset(data).colour != 0 ? 0 : none;
        } else if ((instruction == kScrollPreset || instruction == kScrollCopy) && ScrollBlock(data).Moves()) {
            Search();
        }
    }

private:
    static constexpr int none = -1;

    bool IsUsed(int row, int column) const
    {
        TilePixels pixels;
        screen.GetTile(row, column, pixels);
        return std::any_of(pixels.begin(), pixels.end(), [](u64 pixelRow) { return pixelRow != 0; });
    }

    // Goes on where the last one was found: pages are often erased tile by tile.
    void Search()
    {
        const int firstRow = std::max(usedTile, 0) / IndexScreen::columns;
        for (int i = 0; i < IndexScreen::rows; ++i) {
            const int row = (firstRow + i) % IndexScreen::rows, top = row * IndexScreen::tileHeight;
            for (int y = top; y < top + IndexScreen::tileHeight; ++y)
                if (screen.HasOther(y, 0)) {
                    const u8* const pixels = screen.Image().GetRow(y);
                    const auto x =
                        std::find_if(pixels, pixels + IndexScreen::width, [](u8 p) { return p != 0; }) - pixels;
                    usedTile = row * IndexScreen::columns + static_cast<int>(x) / IndexScreen::tileWidth;
                    return;
                }
        }
        usedTile = none;
    }

    IndexScreen screen;
    int usedTile = none; // row * columns + column
};

} // namespace

CCDGAnalyzer::CCDGAnalyzer() = default;
CCDGAnalyzer::~CCDGAnalyzer() = default;

// NOLINTNEXTLINE(performance-unnecessary-value-param): applications rely on this signature
bool CCDGAnalyzer::ReadFromFile(CFile* file, int snapshotPack, std::function<bool()> isCancelled)
{
    m_pRawPacks.reset();
    m_nPackCount = 0;
    if (!file)
        return false;
    try {
        const CString path = file->GetFilePath();
        const bool discImage = IsDiscImage(path.GetString());
        if (!ReadRawPacks(*file, discImage, isCancelled) || !Replay(snapshotPack, isCancelled))
            return false;
        // A file without a name, as one in memory, is opened all the same: an empty name would close the renderer.
        return m_Renderer.Open(path.IsEmpty() ? nullptr : path.GetString(), file, !discImage);
    } catch (CException* failure) {
        failure->Delete();
        return false;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

bool CCDGAnalyzer::ReadRawPacks(CFile& file, bool discImage, const std::function<bool()>& isCancelled)
{
    const i64 count = CountPacks(file.GetLength(), discImage);
    if (count > maxPacks)
        return false;
    file.Seek(0, CFile::begin);
    const std::size_t size = static_cast<std::size_t>(count) * kPackSize;
    if (discImage) {
        m_pRawPacks = std::make_unique<u8[]>(size);
        m_nPackCount = static_cast<i32>(count);
        return ReadSubcode(file, m_pRawPacks.get(), m_nPackCount / kPacksPerRecord, isCancelled);
    }
    m_pRawPacks = std::make_unique_for_overwrite<u8[]>(size);
    const std::size_t got = ReadAll(file, m_pRawPacks.get(), size);
    std::memset(m_pRawPacks.get() + got, 0, size - got);
    m_nPackCount = static_cast<i32>(count);
    return true;
}

bool CCDGAnalyzer::Replay(int snapshotPack, const std::function<bool()>& isCancelled)
{
    const auto count = static_cast<std::size_t>(m_nPackCount);
    m_Packs.clear();
    m_Packs.reserve(count);
    m_ClearScreens.clear();
    m_SnapshotColors = {};
    m_SnapshotImage.Destroy();
    CleanScreenWatch watch;
    const u8* raw = m_pRawPacks.get();
    for (i32 pack = 0; pack < m_nPackCount; ++pack, raw += kPackSize) {
        if (isCancelled()) {
            m_Packs.resize(count);
            return false;
        }
        if (watch.IsClean())
            m_ClearScreens.push_back(pack);
        if (pack == snapshotPack) {
            const IndexScreen& screen = watch.Screen();
            m_SnapshotImage = screen.Image();
            for (int i = 0; i < CCDGEmulator::colourCount; ++i) {
                const u32 colour = screen.Palette()[static_cast<std::size_t>(i)];
                m_SnapshotColors[static_cast<std::size_t>(i)] = colour;
                m_SnapshotImage.SetTableColor(i, colour);
            }
            m_SnapshotColors.back() = static_cast<u32>(screen.BorderColour());
        }
        m_Packs.emplace_back(raw);
        watch.Add(raw);
    }
    return true;
}

bool CCDGAnalyzer::WriteToFile(CFile* file)
{
    const auto count = std::min(static_cast<std::size_t>(std::max(m_nPackCount, 0)), m_Packs.size());
    if (!file || count == 0)
        return false;
    try {
        std::vector<u8> bytes(count * kPackSize);
        for (std::size_t i = 0; i < count; ++i)
            m_Packs[i].GetMem(&bytes[i * kPackSize]);
        file->Write(bytes.data(), static_cast<UINT>(bytes.size())); // at most a day of packs: 622 MB
    } catch (CException* failure) {
        failure->Delete();
    } catch (const std::bad_alloc&) { // the result says nothing in this case either
    }
    return false;
}

int CCDGAnalyzer::GetFirstActivePackAfter(int pack)
{
    const auto count = static_cast<int>(m_Packs.size());
    if (pack >= count)
        return pack;
    const auto active = [](const CCDGEmulatorPack& p) { return p.command == kCommandGraphics && p.instruction != 0; };
    return static_cast<int>(std::find_if(m_Packs.begin() + std::max(pack, 0), m_Packs.end(), active) - m_Packs.begin());
}

void CCDGAnalyzer::GetPalette(int pack, CCDGEmulatorPack& low, CCDGEmulatorPack& high)
{
    const auto find = [&](u8 instruction, CCDGEmulatorPack& found) {
        found.Clear();
        found.command = kCommandGraphics;
        found.instruction = instruction;
        for (i64 i = std::min<i64>(pack, static_cast<i64>(m_Packs.size()) - 1); i >= 0; --i)
            if (const CCDGEmulatorPack& p = m_Packs[static_cast<std::size_t>(i)]; p.instruction == instruction) {
                found = p;
                return;
            }
    };
    find(kLoadColours07, low);
    find(kLoadColours8F, high);
}

int CCDGAnalyzer::GetPrevClearScreen(int pack)
{
    const auto next = std::lower_bound(m_ClearScreens.begin(), m_ClearScreens.end(), pack);
    if (next == m_ClearScreens.end())
        return 0; // Kept as is: not the last clean screen, although that lies before
    return *next == pack || next == m_ClearScreens.begin() ? *next : *(next - 1);
}

std::vector<unsigned long> CCDGAnalyzer::GetTextColors()
{
    return {};
}
