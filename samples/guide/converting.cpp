// ffmpeg with progress, a time limit and a way to stop it.
//
//   converting FFMPEG SOUND.wav SOUND.flac
#include "ConsoleOutputReader.h"
#include "FFMpegRunner.h"

#include <cstdio>

int main(int argc, char** argv)
{
    if (argc != 4)
        return 2;
    const auto quoted = [](const char* path) { return CConsoleOutputReader::QuoteArgument(path); };
    NV::CFFMpegRunner ffmpeg(argv[1]);
    const bool done = ffmpeg.RunCommand(
        "-i " + quoted(argv[2]) + " -y " + quoted(argv[3]),
        60 * 1000,        // milliseconds
        [] { return 0; }, // anything else stops it, politely first
        true,
        [](double fraction) {
            std::printf("%3.0f %%\n", fraction * 100);
            return 0;
        });
    if (!done)
        for (const std::string& line : ffmpeg.GetOutput())
            std::fprintf(stderr, "%s\n", line.c_str());
    return done ? 0 : 1;
}
