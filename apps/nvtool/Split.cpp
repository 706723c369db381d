// nvtool split: a disc image into its sound and its graphics.
#include "BinFile.h"
#include "Commands.h"
#include "Inputs.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <cstdio>
#include <memory>

namespace nvtool {
namespace fs = std::filesystem;

namespace {

struct SplitArguments {
    std::string track, wav, cdg;
    bool json = false;
};

void RunSplit(const SplitArguments& options)
{
    const StreamIdentity identity = Identify(options.track);
    if (identity.kind == StreamKind::AudioImage)
        throw Error(options.track, "has 2352-byte sectors and so no graphics; 'nvtool process' makes a WAV file of it");
    if (identity.kind != StreamKind::DiscImage)
        throw Error(options.track, "is no disc image to split: " + KindText(identity));
    RefuseSameFile(options.track, options.wav);
    RefuseSameFile(options.track, options.cdg);
    RefuseSameFile(options.wav, options.cdg);

    OutputFile wav(options.wav), cdg(options.cdg);
    if (SplitBIN(options.track.c_str(), wav.Temporary().string().c_str(), cdg.Temporary().string().c_str()) != 1)
        throw Error(options.track,
                    "could not be split into " + options.wav + " and " + options.cdg + "; is there room on the disk?");
    wav.Commit();
    cdg.Commit();

    if (identity.restBytes != 0)
        Warn(options.track, "the last " + std::to_string(identity.restBytes) + " bytes are no whole sector: left out");
    if (options.json)
        return PrintJson({{"file", options.track},
                          {"sectors", identity.records},
                          {"restBytes", identity.restBytes},
                          {"wav", options.wav},
                          {"cdg", options.cdg}});
    std::printf("%llu sectors: sound in %s, graphics in %s\n", identity.records, options.wav.c_str(),
                options.cdg.c_str());
}

} // namespace

void AddSplit(CLI::App& app)
{
    auto options = std::make_shared<SplitArguments>();
    CLI::App& command = *app.add_subcommand("split", "Split a disc image into a WAV file and a CD+G file");
    command.add_option("TRACK", options->track, "Disc image with 2448-byte sectors")->required()->type_name("");
    command.add_option("--wav", options->wav, "WAV file to write")->required()->type_name("FILE");
    command.add_option("--cdg", options->cdg, "CD+G file to write")->required()->type_name("FILE");
    AddJsonFlag(command, options->json);
    command.footer("\nExisting files are replaced, but only when the new ones are whole.\n\n"
                   "Example:\n  nvtool split track.bin --wav track.wav --cdg track.cdg");
    command.callback([options] { RunSplit(*options); });
}

} // namespace nvtool
