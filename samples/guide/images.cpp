// Disc images: apart, and together again. An image holds sound and graphics sector by sector.
//
//   images TRACK.bin FOLDER
#include "BinFile.h"
#include "WaveFile.h"

#include <cstdio>
#include <fstream>
#include <string>

int main(int argc, char** argv)
{
    if (argc != 3)
        return 2;
    const std::string folder = argv[2], wav = folder + "/apart.wav", cdg = folder + "/apart.cdg";
    if (SplitBIN(argv[1], wav.c_str(), cdg.c_str()) != 1)
        return 1; // both files are then as they were before

    // The image itself can be read as sound, too: CBinFile and CWaveFile are both a CSoundFile.
    CWaveFile sound;
    if (!sound.Open(wav.c_str(), CFile::modeRead | CFile::shareDenyNone))
        return 1;
    for (const auto& [from, to] : sound.ScanFileForSilence(0.01, 1.0)) // of full scale; seconds
        std::printf("silent from %.3f s to %.3f s\n", sound.SampleToTime(from), sound.SampleToTime(to));
    sound.Close();

    const std::string joined = folder + "/together.bin";
    const std::ofstream made(joined, std::ios::binary); // the image is written into an existing file
    if (!CBinFile::WriteWavToBin(wav.c_str(), joined.c_str()))
        return 1;
    WriteCDGToBIN(cdg.c_str(), joined.c_str());
    std::printf("%s holds both again\n", joined.c_str());
    return 0;
}
