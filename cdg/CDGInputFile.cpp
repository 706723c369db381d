// CD+G packs from disk: see CDGInputFile.h.
#include "CDGInputFile.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstring>
#include <limits>
#include <string_view>
#include <vector>

namespace {

constexpr int subcodeSize = kPacksPerRecord * kPackSize;
constexpr int packsPerImagePiece = 48 * kPacksPerRecord; // 115 KiB with the audio between
constexpr int packsPerPlainPiece = 1 << 20;              // so that bytes fit an int

bool EndsInBin(std::string_view name)
{
    if (name.size() < 3)
        return false;
    std::string ending(name.substr(name.size() - 3));
    std::transform(ending.begin(), ending.end(), ending.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return ending == "bin";
}

// Runs a file operation; the framework throws when the disk or the handle fails.
template <class Result, class Operation>
Result OrElse(Result failed, Operation operation)
{
    try {
        return operation();
    } catch (CFileException* e) {
        e->Delete();
        return failed;
    }
}

} // namespace

int CCDGInputFile::Open(const char* name, unsigned flags, CFileException* error)
{
    Close();
    auto opened = std::make_shared<CFile>();
    if (!opened->Open(name, flags, error))
        return 0;
    file = std::move(opened);
    ownsFile = true;
    recordSize = EndsInBin(name) ? kBinRecordSize : kCdgRecordSize;
    SeekToPack(0);
    return 1;
}

int CCDGInputFile::Open(CFile* newFile, bool plainFile)
{
    Close();
    file = std::shared_ptr<CFile>(newFile, [](CFile*) {});
    ownsFile = false;
    recordSize = plainFile ? kCdgRecordSize : kBinRecordSize;
    SeekToPack(0);
    return 1;
}

void CCDGInputFile::Close()
{
    if (file && ownsFile)
        OrElse(false, [this] {
            if (file->m_hFile != CFile::hFileNull)
                file->Close();
            return true;
        });
    file.reset();
    currentPack = 0;
}

ULONGLONG CCDGInputFile::GetLength() const
{
    return file ? OrElse(ULONGLONG{0}, [this] { return file->GetLength(); }) : 0;
}

bool CCDGInputFile::GetNextPack(CCDGEmulatorPack& pack)
{
    if (Read(readBuffer, 1) != 1)
        return false;
    pack.GetFromMem(readBuffer);
    return true;
}

int CCDGInputFile::Read(u8* buffer, int count)
{
    if (count <= 0)
        return 0;
    int stored = file ? OrElse(0, [&] { return ReadFromFile(buffer, count); }) : 0;
    for (; stored < count && paddingPacks > 0; ++stored, ++currentPack, --paddingPacks)
        std::memset(buffer + stored * kPackSize, 0, kPackSize);
    return stored;
}

int CCDGInputFile::ReadFromFile(u8* buffer, int count)
{
    int stored = 0;
    const int packsPerPiece = recordSize == kCdgRecordSize ? packsPerPlainPiece : packsPerImagePiece;
    std::vector<u8> piece; // of a raw image: subcode with the audio between
    while (stored < count) {
        const int wanted = std::min(count - stored, packsPerPiece);
        u8* const packs = buffer + static_cast<std::ptrdiff_t>(stored) * kPackSize;
        int got = 0;
        if (recordSize == kCdgRecordSize) {
            got = static_cast<int>(file->Read(packs, static_cast<UINT>(wanted * kPackSize))) / kPackSize;
        } else {
            const auto offset = [this](int pack) { // of a pack behind the next one, in the piece
                const int place = currentPack % kPacksPerRecord + pack;
                return pack * kPackSize + place / kPacksPerRecord * (kBinRecordSize - subcodeSize);
            };
            piece.resize(static_cast<std::size_t>(offset(wanted - 1) + kPackSize));
            const int bytes = static_cast<int>(file->Read(piece.data(), static_cast<UINT>(piece.size())));
            for (; got < wanted && offset(got) + kPackSize <= bytes; ++got)
                std::memcpy(packs + got * kPackSize, piece.data() + offset(got), kPackSize);
        }
        std::transform(packs, packs + got * kPackSize, packs,
                       [](u8 byte) { return static_cast<u8>(byte & kPackBits); });
        stored += got;
        currentPack += got;
        if (got > 0 && currentPack % kPacksPerRecord == 0 && recordSize != kCdgRecordSize)
            file->Seek(recordSize - subcodeSize, CFile::current);
        if (got < wanted)
            break;
    }
    return stored;
}

bool CCDGInputFile::SeekToPack(int pack)
{
    if (!file || pack < 0)
        return false;
    const i64 record = pack / kPacksPerRecord + 1, place = pack % kPacksPerRecord - kPacksPerRecord;
    return OrElse(false, [&] {
        file->Seek(record * recordSize + place * kPackSize, CFile::begin);
        currentPack = pack;
        return true;
    });
}

int CCDGInputFile::GetPackCount() const
{
    if (!file)
        return 0;
    const u64 packs = GetLength() / static_cast<u64>(recordSize) * kPacksPerRecord + static_cast<u64>(paddingPacks);
    return static_cast<int>(std::min<u64>(packs, std::numeric_limits<int>::max()));
}

int CCDGInputFile::TimeToPack(double seconds)
{
    const double pack = seconds * kPacksPerSecond;
    if (!(pack > std::numeric_limits<int>::min())) // also not-a-number, which is pack 0
        return pack < 0 ? std::numeric_limits<int>::min() : 0;
    return pack < std::numeric_limits<int>::max() ? static_cast<int>(pack) : std::numeric_limits<int>::max();
}
