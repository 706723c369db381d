// Sound as a drawing: the minimum and maximum of every row, from a peak file that is made once and kept beside the
// sound.
//
//   waveform SOUND.wav
#include "WaveFile.h"

#include <array>
#include <cstdio>
#include <string>

int main(int argc, char** argv)
{
    if (argc != 2)
        return 2;
    CWaveFile sound;
    sound.SetPeakFileOption(PeakFileOption::onDisk); // SOUND.fpr; the task that makes it shares the file
    if (!sound.Open(argv[1], CFile::modeRead | CFile::shareDenyNone))
        return 1;
    sound.WaitForPeakFile(); // a window would rather draw what there is: GetData works without, only slower

    constexpr int rows = 16, width = 60;
    std::array<std::array<i16, 2>, rows> minima{}, maxima{}; // left and right
    const int framesPerRow = static_cast<int>(sound.GetLength() / rows);
    const int got = sound.GetData(0, minima.data(), maxima.data(), rows, framesPerRow);
    for (size_t row = 0; row < static_cast<size_t>(got); ++row) {
        const int length = (maxima[row][0] - minima[row][0]) * width / 65536;
        std::printf("%6.1f s %s\n", static_cast<double>(row) * sound.SampleToTime(framesPerRow),
                    std::string(static_cast<size_t>(length), '#').c_str());
    }
    return got == rows ? 0 : 1;
}
