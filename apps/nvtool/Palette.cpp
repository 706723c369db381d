// nvtool palette: the sixteen colours at a time.
#include "Palette.h"

#include "Analysis.h"
#include "Commands.h"
#include "Interrupt.h"
#include "Times.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdio>
#include <memory>

namespace nvtool {

namespace {

struct PaletteArguments {
    std::string file, time;
    bool json = false;
};

PaletteTexts PaletteAt(CCDGAnalyzer& analyzer, int pack)
{
    CCDGEmulatorPack low, high;
    analyzer.GetPalette(pack, low, high);
    CDGEmulator::CCDGEmulator emulator;
    emulator.Init();
    for (CCDGEmulatorPack* half : {&low, &high}) {
        half->command = kCommandGraphics; // the analyser also takes loads under other commands
        emulator.ProcessCommand(*half, -1, -1);
    }
    return PaletteOf(emulator);
}

void RunPalette(const PaletteArguments& options)
{
    const double seconds = ParseTime(options.time, "--at");
    CatchInterrupts();
    Analysis analysis(options.file);
    CCDGAnalyzer& analyzer = analysis.Get();
    const int last = std::max(analyzer.m_nPackCount - 1, 0);
    const int pack = std::min(CCDGInputFile::TimeToPack(seconds), last);
    if (seconds > CCDGInputFile::PackToTime(analyzer.m_nPackCount))
        Warn(options.file, TimeText(seconds) + " is past the end at " +
                               TimeText(CCDGInputFile::PackToTime(analyzer.m_nPackCount)) +
                               ": these are the last colours");
    const PaletteTexts colours = PaletteAt(analyzer, pack);
    if (options.json)
        return PrintJson({{"file", options.file}, {"seconds", seconds}, {"pack", pack}, {"colours", colours}});
    for (size_t i = 0; i < colours.size(); ++i)
        std::printf("%2zu  %s\n", i, colours[i].c_str());
}

} // namespace

PaletteTexts PaletteOf(const CDGEmulator::CCDGEmulator& emulator)
{
    PaletteTexts texts;
    for (size_t i = 0; i < texts.size(); ++i) {
        const u32 colour = emulator.GetPaletteEntry(static_cast<int>(i)); // components are the four bits times 16
        char text[8];
        std::snprintf(text, sizeof(text), "#%x%x%x", colour >> 4 & 15, colour >> 12 & 15, colour >> 20 & 15);
        texts[i] = text;
    }
    return texts;
}

void AddPalette(CLI::App& app)
{
    auto options = std::make_shared<PaletteArguments>();
    CLI::App& command = *app.add_subcommand("palette", "List the sixteen colours at a time");
    command.add_option("FILE", options->file, "CD+G file or disc image")->required()->type_name("");
    command.add_option("--at", options->time, "Time in seconds (90.5) or minutes (1:30.5)")
        ->required()
        ->type_name("TIME");
    AddJsonFlag(command, options->json);
    command.footer(
        "\nColours are given as #rgb, a hexadecimal digit each for red, green and blue. They are those of the\n"
        "last colour loads up to this time; a half that was not loaded yet is black.\n\n"
        "Example:\n  nvtool palette track.bin --at 1:30");
    command.callback([options] { RunPalette(*options); });
}

} // namespace nvtool
