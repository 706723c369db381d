// A complete small application: opens a karaoke track, plays its graphics and its sound, and saves one frame as a
// picture.
//
//   track_player TRACK.bin SECONDS PICTURE.bmp
//
// It plays as fast as it can; a real player would wait for the clock, or for its sound device, in front of each frame.
#include "BinFile.h"
#include "CDGRenderer.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace {

constexpr int framesPerSecond = 30;

/// Prints why a file could not be used.
int Fail(const char* path, const CException& error)
{
    char reason[300];
    error.GetErrorMessage(reason, sizeof reason);
    std::fprintf(stderr, "%s: %s\n", path, reason);
    return 1;
}

void PutNumber(std::vector<u8>& bytes, u32 value, int count)
{
    for (int i = 0; i < count; ++i)
        bytes.push_back(static_cast<u8>(value >> (8 * i)));
}

/// Writes a picture as a BMP file, which stores its rows just as CDib does. Throws CFileException by pointer.
void SavePicture(const CDib& picture, const char* path)
{
    constexpr u32 headerSize = 14 + 40;
    const u32 imageSize = static_cast<u32>(picture.GetImageSize());
    std::vector<u8> header = {'B', 'M'};
    PutNumber(header, headerSize + imageSize, 4);
    PutNumber(header, 0, 4);
    PutNumber(header, headerSize, 4);
    PutNumber(header, 40, 4);
    PutNumber(header, static_cast<u32>(picture.GetWidth()), 4);
    PutNumber(header, static_cast<u32>(picture.GetHeight()), 4); // positive: the bottom row comes first
    PutNumber(header, 1, 2);
    PutNumber(header, static_cast<u32>(picture.GetBitCount()), 2);
    header.resize(headerSize); // uncompressed; nothing else to say

    CFile file(path, CFile::modeCreate | CFile::modeWrite);
    file.Write(header.data(), static_cast<UINT>(header.size()));
    file.Write(picture.GetBits(), imageSize);
    file.Close();
}

/// The loudest sample of the next `frames` frames of sound.
int PlaySound(CSoundFile& sound, i64 frames)
{
    std::vector<i16> samples(static_cast<std::size_t>(frames) * 2);
    const int got = sound.Read(samples.data(), static_cast<int>(frames));
    int loudest = 0;
    for (int i = 0; i < 2 * got; ++i)
        loudest = std::max(loudest, std::abs(int{samples[static_cast<std::size_t>(i)]}));
    return loudest;
}

int Play(const char* track, double pictureAt, const char* picturePath)
{
    CFile file(track,
               CFile::modeRead | CFile::shareDenyWrite); // one file for both: sound and graphics share its sectors
    CBinFile sound;
    CCDGRenderer graphics;
    if (!sound.Open(track, CFile::modeRead | CFile::shareDenyWrite) || !graphics.Open(track, &file, false)) {
        std::fprintf(stderr, "%s: cannot be played\n", track);
        return 1;
    }

    int shown = 0, changed = 0, loudest = 0;
    const int total = static_cast<int>(graphics.GetDuration() * framesPerSecond);
    CDGEmulator::CCDGEmulator& screen = graphics.GetEmulator();
    for (; shown < total; ++shown) {
        const double now = shown / double(framesPerSecond);
        screen.ClearModified();
        if (!graphics.GetFrame(now))
            return 1;
        changed += screen.IsModified(); // only then a window would have to be painted
        loudest =
            std::max(loudest, PlaySound(sound, sound.TimeToSample(now + 1.0 / framesPerSecond) - sound.GetPosition()));
    }
    const CDib* const picture = graphics.GetFrame(pictureAt);
    if (!picture)
        return 1;
    SavePicture(*picture, picturePath);
    std::printf("%d frames, %d of them with something new; loudest sample %d; %.2f s saved to %s\n", shown, changed,
                loudest, graphics.GetCurrentTime(), picturePath);
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 4) {
        std::fprintf(stderr, "usage: track_player TRACK.bin SECONDS PICTURE.bmp\n");
        return 2;
    }
    try {
        return Play(argv[1], std::strtod(argv[2], nullptr), argv[3]);
    } catch (CFileException* error) { // the framework throws pointers; whoever catches one gives it back
        const int result = Fail(argv[1], *error);
        error->Delete();
        return result;
    }
}
