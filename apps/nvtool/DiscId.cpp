// nvtool disc-id: the id that a disc has in CDDB databases.
#include "Commands.h"
#include "Discs.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <cstdio>
#include <memory>

namespace nvtool {

namespace {

struct DiscIdArguments {
    DiscOptions discs;
    bool json = false;
};

void RunDiscId(const DiscIdArguments& options)
{
    nlohmann::ordered_json json = nlohmann::ordered_json::array();
    for (const Disc& disc : ReadDiscs(options.discs)) {
        if (options.json) {
            json.push_back(DiscJson(disc));
            continue;
        }
        std::printf("%s", DiscIdText(disc.id).c_str());
        for (const i32 offset : disc.offsets)
            std::printf(" %d", offset);
        std::printf("\n");
    }
    if (options.json)
        PrintJson(json);
}

} // namespace

void AddDiscId(CLI::App& app)
{
    auto options = std::make_shared<DiscIdArguments>();
    CLI::App& command =
        *app.add_subcommand("disc-id", "Tell the CDDB id of a disc, of an image or of the disc in a drive");
    AddDiscOptions(command, options->discs, false);
    AddJsonFlag(command, options->json);
    command.footer("\nPrints the id and the frames where the tracks begin, a line a disc, as 'nvtool cddb local "
                   "--list' takes them.\n\n"
                   "Examples:\n  nvtool disc-id 0:02:00 4:10:33 61:02:10\n  nvtool disc-id --image album.cue");
    command.callback([options] { RunDiscId(*options); });
}

} // namespace nvtool
