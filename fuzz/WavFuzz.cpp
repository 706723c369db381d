// Sound files of any bytes: what opens is what the chunk rules accept, its frames are the bytes of its data chunk, and
// writing behind them keeps everything else.
//
// Input: two bytes that say how to read and write, then the file.
#include "Check.h"
#include "Scratch.h"
#include "WaveFile.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <span>
#include <vector>

namespace {

using Bytes = std::span<const u8>;

u32 Number(Bytes file, u64 at, int bytes)
{
    u32 value = 0;
    for (int i = bytes - 1; i >= 0; --i)
        value = value << 8 | file[static_cast<size_t>(at) + static_cast<size_t>(i)];
    return value;
}

// The header rules once more, read straight from the bytes.
struct Header {
    u64 fmt = 0, data = 0; // first bytes of what the chunks hold
    u32 fmtSize = 0;
    u64 dataEnd = 0;
    u32 blockAlign = 0;
};

// The content of the first chunk of this name from `at` on; a chunk head that is cut off ends the search.
std::optional<u64> FindChunk(Bytes file, u64 at, const char* id, u32& size)
{
    while (at + 8 <= file.size()) {
        size = Number(file, at + 4, 4);
        if (std::memcmp(file.data() + at, id, 4) == 0)
            return at + 8;
        at += 8 + u64{size};
    }
    return std::nullopt;
}

std::optional<Header> ReadHeader(Bytes file)
{
    Header header;
    u32 size = 0;
    const auto riff = FindChunk(file, 0, "RIFF", size);
    if (!riff || *riff + 4 > file.size() || std::memcmp(file.data() + *riff, "WAVE", 4) != 0)
        return std::nullopt;
    const auto fmt = FindChunk(file, *riff + 4, "fmt ", header.fmtSize);
    if (!fmt || *fmt + 16 > file.size())
        return std::nullopt;
    header.fmt = *fmt;
    header.blockAlign = Number(file, *fmt + 12, 2);
    const auto data = FindChunk(file, *fmt + header.fmtSize, "data", size);
    if (!data)
        return std::nullopt;
    header.data = *data;
    header.dataEnd = std::min<u64>(*data + size, file.size());
    return header;
}

i64 LengthOf(const Header& header)
{
    return header.blockAlign ? static_cast<i64>((header.dataEnd - header.data) / header.blockAlign) : 0;
}

void CheckReading(CWaveFile& wave, Bytes file, const Header& header, int piece)
{
    const i64 length = LengthOf(header);
    FUZZ_CHECK(wave.GetLength() == length && wave.GetPosition() == 0);
    const WAVEFORMATEX& format = wave.GetFormat();
    FUZZ_CHECK(format.wFormatTag == Number(file, header.fmt, 2) && format.nChannels == Number(file, header.fmt + 2, 2));
    FUZZ_CHECK(format.nSamplesPerSec == Number(file, header.fmt + 4, 4) && format.nBlockAlign == header.blockAlign);
    FUZZ_CHECK(format.wBitsPerSample == Number(file, header.fmt + 14, 2) && format.cbSize == 18);

    std::vector<u8> got(static_cast<size_t>(piece) * std::max(header.blockAlign, 1u));
    i64 at = 0;
    for (int round = 0; round < 64; ++round) {
        const int frames = wave.Read(got.data(), piece);
        FUZZ_CHECK(frames == std::clamp<i64>(length - at, 0, piece));
        const u64 from = header.data + static_cast<u64>(at) * header.blockAlign;
        FUZZ_CHECK(frames == 0 ||
                   std::memcmp(got.data(), file.data() + from, static_cast<size_t>(frames) * header.blockAlign) == 0);
        at += frames;
        if (frames < piece)
            break;
    }
    FUZZ_CHECK(wave.Seek(length / 2, 0) == length / 2 && wave.GetPosition() == length / 2);

    // Below a thousand frames a second a run of no frames is long enough, and such runs are told of, too, out of order.
    const bool ordered = format.nSamplesPerSec >= 1000;
    i64 end = 0;
    for (const auto& [from, to] : wave.ScanFileForSilence(piece / 256.0, 0.001)) {
        FUZZ_CHECK(from >= (ordered ? end : 0) && from <= to && to <= length);
        end = to;
    }
    const int first = wave.ScanForFirstSound(0.25), last = wave.ScanForLastSound(0.25);
    FUZZ_CHECK((first == -1) == (last == -1) && first <= last && last < std::max<i64>(length, 0));
    FUZZ_CHECK(wave.GetPosition() == length / 2);
}

// Frames written behind the last one: those before them and the bytes behind the data are still there, the sizes fit.
void CheckGrowing(const ScratchFolder& scratch, const std::string& path, Bytes file, const Header& header, int frames)
{
    const i64 length = LengthOf(header);
    std::vector<u8> fresh(static_cast<size_t>(frames) * header.blockAlign, 0xA5);
    {
        CWaveFile wave;
        FUZZ_CHECK(wave.Open(path.c_str(), CFile::modeReadWrite));
        FUZZ_CHECK(wave.Seek(length, 0) == length && wave.Write(fresh.data(), frames) == frames);
        FUZZ_CHECK(wave.GetLength() == length + frames);
    }
    const std::vector<u8> grown = scratch.Read("sound.wav");
    const auto now = ReadHeader(grown);
    FUZZ_CHECK(now && now->data == header.data && LengthOf(*now) == length + frames);
    const size_t tail = file.size() - static_cast<size_t>(header.dataEnd);
    FUZZ_CHECK(grown.size() - tail == now->dataEnd);
    FUZZ_CHECK(std::equal(grown.end() - static_cast<std::ptrdiff_t>(tail), grown.end(),
                          file.end() - static_cast<std::ptrdiff_t>(tail)));
    const size_t data = static_cast<size_t>(header.data), kept = static_cast<size_t>(length) * header.blockAlign;
    FUZZ_CHECK(std::memcmp(grown.data() + data, file.data() + data, kept) == 0);
    FUZZ_CHECK(std::memcmp(grown.data() + data + kept, fresh.data(), fresh.size()) == 0);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const u8* bytes, size_t size)
{
    if (size < 2)
        return 0;
    static const ScratchFolder scratch;
    const Bytes file(bytes + 2, size - 2);
    const std::string path = scratch.Write("sound.wav", file);
    const auto header = ReadHeader(file);
    {
        CWaveFile wave;
        FUZZ_CHECK(wave.Open(path.c_str(), CFile::modeRead | CFile::shareDenyNone) == header.has_value());
        if (!header)
            return 0;
        CheckReading(wave, file, *header, bytes[0] + 1);
    }
    const std::vector<u8> after = scratch.Read("sound.wav");
    FUZZ_CHECK(std::equal(after.begin(), after.end(), file.begin(), file.end())); // reading changes nothing
    // A format chunk too small for its fields shares bytes with what follows, so that bringing sizes up to date may
    // change them.
    if (header->fmtSize >= 16 && header->blockAlign != 0)
        CheckGrowing(scratch, path, file, *header, bytes[1] + 1);
    return 0;
}
