// Sound that is heard, and sound as an MP3 file. Plays on the default device; without one it keeps the same time.
//
//   playing SOUND.wav SOUND.mp3
#include "MP3Encoding.h"
#include "MP3OutFile.h"
#include "SoundFilePlayer.h"
#include "WaveFile.h"

#include <cstdio>
#include <memory>
#include <string>

namespace {

std::unique_ptr<CSoundFile> OpenSound(const char* path)
{
    auto sound = std::make_unique<CWaveFile>();
    return sound->Open(path, CFile::modeRead | CFile::shareDenyNone) ? std::move(sound) : nullptr;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 3)
        return 2;
    const auto sound = OpenSound(argv[1]);
    CSoundFilePlayer player;
    if (!sound || !player.Open(sound.get()))
        return 1;
    player.SetFades(0.2, 0.2); // seconds
    player.Play(sound->TimeToSample(2.0), sound->TimeToSample(3.0));
    while (!player.WaitUntilStopped(0.25))
        std::printf("heard: %.2f s\n", sound->SampleToTime(player.GetPosition())); // heard, not only queued
    player.Close();

    MP3EncodingJob job;
    job.open = [&] { return OpenSound(argv[1]); };
    job.path = argv[2];
    CMP3OutFile::InitBEConfig(&job.config);
    job.config.format.LHV1.dwBitrate = 128; // kbit/s
    CString problem;
    if (EncodeMP3(job, &problem) != MP3EncodingResult::done) {
        std::fprintf(stderr, "%s: %s\n", argv[2], problem.GetString()); // no file is left
        return 1;
    }
    return 0;
}
