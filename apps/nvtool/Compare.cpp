// nvtool compare: do two streams show the same graphics?
#include "Commands.h"
#include "Print.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <cstdio>
#include <memory>

namespace nvtool {

namespace {

struct CompareArguments {
    std::string a, b;
    int sameBits = kSameBits;
    bool json = false;
};

void RunCompare(const CompareArguments& options)
{
    const PrintMatch match = Match(Print::OfAny(options.a), Print::OfAny(options.b), options.sameBits);
    if (options.json) {
        nlohmann::ordered_json json = {{"files", {options.a, options.b}},
                                       {"bitsSet", {match.ink, match.otherInk}},
                                       {"differingBits", match.differingBits},
                                       {"sameUpTo", options.sameBits}};
        json["same"] = match.AnyInk() ? nlohmann::ordered_json(match.same) : nlohmann::ordered_json();
        return PrintJson(json);
    }
    std::printf("differing bits: %d (of %d and %d set)\n", match.differingBits, match.ink, match.otherInk);
    const char* const words = !match.AnyInk()            ? "cannot be told: both are too short or too blank"
                              : !match.same              ? "different graphics"
                              : match.differingBits == 0 ? "the same graphics"
                                                         : "the same graphics, but for a few pixels";
    std::printf("%s\n", words);
}

} // namespace

void AddCompare(CLI::App& app)
{
    auto options = std::make_shared<CompareArguments>();
    CLI::App& command = *app.add_subcommand("compare", "Tell whether two streams show the same graphics");
    command.add_option("A", options->a, "CD+G file, disc image or thumbprint file")->required()->type_name("");
    command.add_option("B", options->b, "The other one")->required()->type_name("");
    AddSameOption(command, options->sameBits);
    AddJsonFlag(command, options->json);
    command.footer(
        "\nCompares what is set on the screen every 20 seconds, not the colours. When one goes on for longer\n"
        "than the other, what it shows then counts as differing. The exit code says nothing of the result.\n\n"
        "Example:\n  nvtool compare track.bin other.cdg");
    command.callback([options] { RunCompare(*options); });
}

} // namespace nvtool
