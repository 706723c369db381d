// Peak files of any bytes: what is opened is what the header rules accept, its points are those of the plain rule, an
// edit of a recording that does not belong to it gives the records of that recording, and making it anew does so as
// well.
//
// Input: four bytes that say where to look and how to edit, then the peak file.
#include "Check.h"
#include "PeakFile.h"
#include "Scratch.h"
#include "support/PeakReference.h"

#include <algorithm>

namespace {

const std::function<bool()> never = [] { return false; };

bool IsPeakFile(std::span<const u8> file)
{
    return file.size() >= 8 && file[0] == 8 && file[1] == 0 && file[2] == 1 && file[3] == 0 &&
           (file[5] == 1 || file[5] == 2) && (file[6] | file[7]) != 0;
}

// Three points as the plain rule has them; their width keeps that rule's loops short.
void CheckPoints(CPeakFile& peaks, std::span<const u8> file, const u8* where)
{
    const int bits = file[4] == 8 ? 8 : 16, channels = file[5], sectorSize = file[6] | file[7] << 8;
    const i64 first = static_cast<i64>(where[0]) * sectorSize / 7;
    const int zoom = 1 + where[1] * sectorSize / 3;
    const int count = 1 + where[2] % 8;
    const Points points(peaks, bits, channels, first, count, zoom);
    FUZZ_CHECK(std::pair(points.minima, points.maxima) == PlainPoints(file, first, count, zoom));
    FUZZ_CHECK(points.left == count - static_cast<int>(points.minima.size()) / channels);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const u8* bytes, size_t size)
{
    if (size < 4)
        return 0;
    static const ScratchFolder scratch;
    const std::span<const u8> file(bytes + 4, std::min<size_t>(size - 4, 1 << 16));
    const std::string place = scratch.Write("sound.fpr", file);
    const CString audio = scratch.Path("sound.wav").c_str();

    std::mt19937 random(bytes[3]);
    const SampleFormat format = IsPeakFile(file) ? SampleFormat{file[4] == 8 ? 8 : 16, file[5]} : SampleFormat{16, 2};
    ByteSound sound(format, RandomFrames(random, format, bytes[3] * 5));
    CPeakFile peaks;
    peaks.SetMemoryOnly(false);
    FUZZ_CHECK(peaks.Initialize(audio) == (IsPeakFile(file) ? 1 : -1));
    if (IsPeakFile(file)) {
        CheckPoints(peaks, file, bytes);
        CheckPoints(peaks, file, bytes); // now with what is kept of the first time
        peaks.SetSource(&sound);
        const bool fits = file[4] == 8 || file[4] == 16;
        FUZZ_CHECK(peaks.Cut(0) == fits); // everything is computed again, if the audio has the described format
        if (fits)
            FUZZ_CHECK(BytesOf(peaks) == PlainPeakFile(sound.audio, format, peaks.GetSectorSize()));
    }
    peaks.Close();
    std::filesystem::remove(place);
    scratch.Write("sound.fpr", file);
    scratch.Write("sound.wav", Bytes(1000)); // younger
    std::filesystem::last_write_time(place,
                                     std::filesystem::last_write_time(audio.GetString()) - std::chrono::seconds(9));
    FUZZ_CHECK(peaks.Create(audio, &sound, 1 + bytes[2], false, never) == 1);
    FUZZ_CHECK(BytesOf(peaks) == PlainPeakFile(sound.audio, format, 1 + bytes[2]));
    return 0;
}
