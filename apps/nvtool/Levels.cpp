// nvtool levels: minima and maxima of a recording as a view would get them. See Levels.h.
#include "Levels.h"

#include "Commands.h"
#include "PeakFile.h"
#include "Sound.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <memory>

namespace nvtool {
using nlohmann::ordered_json;

namespace {

constexpr int kMaxPoints = 1'000'000;
constexpr int kEightBitCentre = 128;

struct LevelsArguments {
    std::string file;
    int points = 1000;
    bool json = false;
};

std::vector<int> Unpack(const std::vector<i16>& values, size_t count, bool eightBit)
{
    std::vector<int> unpacked(count);
    const u8* bytes = reinterpret_cast<const u8*>(values.data());
    for (size_t k = 0; k < count; ++k)
        unpacked[k] = eightBit ? bytes[k] - kEightBitCentre : values[k];
    return unpacked;
}

void PrintLevels(const CSoundFile& sound, const Levels& levels)
{
    std::printf("%12s", "from");
    for (int c = 0; c < levels.channels; ++c)
        std::printf(" %8s %8s", "min", "max");
    std::printf("\n");
    for (size_t k = 0; k < levels.Points(); ++k) {
        std::printf("%12s", TimeText(sound.SampleToTime(static_cast<i64>(k) * levels.framesPerPoint)).c_str());
        for (size_t c = 0; c < static_cast<size_t>(levels.channels); ++c) {
            const size_t at = k * static_cast<size_t>(levels.channels) + c;
            std::printf(" %8d %8d", levels.minima[at], levels.maxima[at]);
        }
        std::printf("\n");
    }
}

void RunLevels(const LevelsArguments& options)
{
    const auto sound = OpenSound(options.file);
    const Levels levels = MeasureLevels(*sound, options.points);
    if (levels.Points() == 0 && sound->GetLength() > 0)
        throw Error(options.file, "has no levels to show: they need 16 bits a sample, or 8 bits and more than " +
                                      std::to_string(2 * CPeakFile::c_nPFSectorSize) + " frames a point; this is " +
                                      FormatText(sound->GetFormat()));
    if (!options.json)
        return PrintLevels(*sound, levels);
    ordered_json json = {{"file", options.file},
                         {"sound", FormatJson(DescribeSound(*sound))},
                         {"framesPerPoint", levels.framesPerPoint},
                         {"points", levels.Points()},
                         {"fullScale", levels.fullScale},
                         {"channels", ordered_json::array()}};
    const auto channels = static_cast<size_t>(levels.channels);
    for (size_t c = 0; c < channels; ++c) {
        ordered_json minima = ordered_json::array(), maxima = ordered_json::array();
        for (size_t k = c; k < levels.minima.size(); k += channels) {
            minima.push_back(levels.minima[k]);
            maxima.push_back(levels.maxima[k]);
        }
        json["channels"].push_back({{"minima", minima}, {"maxima", maxima}});
    }
    PrintJson(json);
}

} // namespace

Levels MeasureLevels(CSoundFile& sound, int points)
{
    Levels levels;
    const WAVEFORMATEX& format = sound.GetFormat();
    const bool eightBit = format.wBitsPerSample == 8;
    const i64 frames = sound.GetLength(), density = std::clamp<i64>(frames / points, 1, INT_MAX);
    const int sampleBytes = eightBit ? 1 : 2;
    levels.framesPerPoint = static_cast<int>(density);
    levels.channels = format.nChannels;
    levels.fullScale = eightBit ? kEightBitCentre : 32768;
    if (format.nChannels == 0 || format.nBlockAlign != format.nChannels * sampleBytes ||
        (!eightBit && format.wBitsPerSample != 16))
        return levels;
    const bool wide = density > 2 * CPeakFile::c_nPFSectorSize && format.nChannels <= 2;
    if (wide && sound.OpenPeakFile())
        sound.WaitForPeakFile();
    const size_t room = static_cast<size_t>(points) * format.nChannels;
    std::vector<i16> low(room), high(room);
    if (eightBit && density > 1 && !sound.GetPeakFile())
        return levels;
    const int filled = sound.GetData(0, low.data(), high.data(), points, levels.framesPerPoint);
    const size_t count = static_cast<size_t>(std::max(filled, 0)) * format.nChannels;
    levels.minima = Unpack(low, count, eightBit);
    levels.maxima = density == 1 ? levels.minima : Unpack(high, count, eightBit);
    return levels;
}

void AddLevels(CLI::App& app)
{
    auto options = std::make_shared<LevelsArguments>();
    CLI::App& command = *app.add_subcommand("levels", "List the lowest and highest samples of a recording");
    command.add_option("AUDIO", options->file, kSoundHelp)->required()->type_name("");
    command.add_option("--points", options->points, "Points over the whole recording, each of as many frames")
        ->check(CLI::Range(1, kMaxPoints))
        ->capture_default_str();
    AddJsonFlag(command, options->json);
    command.footer("\nExample:\n  nvtool levels track.wav --points 500 --json");
    command.callback([options] { RunLevels(*options); });
}

} // namespace nvtool
