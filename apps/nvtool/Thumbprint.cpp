// nvtool thumbprint: keeps the thumbprints of streams as files.
#include "Batch.h"
#include "Commands.h"
#include "Interrupt.h"
#include "Print.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <cstdio>
#include <memory>
#include <set>

namespace nvtool {
namespace fs = std::filesystem;
using nlohmann::ordered_json;

namespace {

struct ThumbprintArguments {
    std::vector<std::string> files;
    std::string output;
    int jobs = 0;
    bool json = false;
};

// Where each input's thumbprint goes: to the output itself for one file; else below it, called like the stream.
std::vector<fs::path> Targets(const ThumbprintArguments& options, const std::vector<BatchInput>& inputs)
{
    std::error_code unknown;
    if (inputs.size() == 1 && !inputs[0].found && !fs::is_directory(options.output, unknown))
        return {options.output};
    std::vector<fs::path> targets;
    for (const BatchInput& input : inputs) {
        targets.push_back(fs::path(options.output) / input.relative);
        targets.back() += ".thumbprint";
    }
    return targets;
}

// Two inputs of one name would write to one file, and an output may be somebody's input.
void RefuseClashes(std::vector<BatchInput>& inputs, const std::vector<fs::path>& targets)
{
    std::set<fs::path> taken;
    for (size_t i = 0; i < inputs.size(); ++i)
        if (!taken.insert(targets[i].lexically_normal()).second)
            inputs[i].failure = PathText(targets[i]) + " is the thumbprint of another stream of this name";
    for (const BatchInput& input : inputs)
        RefuseSameFile(input.path, targets[static_cast<size_t>(&input - inputs.data())]);
}

void Save(const Print& print, const fs::path& target)
{
    std::error_code failure; // OutputFile says what is wrong with the folder
    if (target.has_parent_path())
        fs::create_directories(target.parent_path(), failure);
    print.Save(target);
}

void RunThumbprint(const ThumbprintArguments& options)
{
    CatchInterrupts();
    std::vector<BatchInput> inputs = ExpandInputs(options.files);
    const std::vector<fs::path> targets = Targets(options, inputs);
    RefuseClashes(inputs, targets);
    ordered_json files = ordered_json::array();
    const auto work = [&](const BatchInput& input, const Advance&) -> std::function<void()> {
        if (IsPassedOver(input))
            return {};
        const fs::path& target = targets[static_cast<size_t>(&input - inputs.data())];
        const Print print = Print::OfStream(input.path);
        Save(print, target);
        return [&, size = print.Bytes().size(), ink = print.Ink()] {
            if (options.json)
                files.push_back(
                    {{"file", input.name}, {"thumbprint", PathText(target)}, {"bytes", size}, {"bitsSet", ink}});
            else
                std::printf("%s: %zu bytes, bits set: %d, in %s\n", input.name.c_str(), size, ink,
                            PathText(target).c_str());
            if (ink == 0)
                Warn(input.name, "too short or too blank to be known again: nothing is on the screen every 20 seconds");
        };
    };
    const auto failures = RunBatch("making thumbprints", inputs, options.jobs, work);
    if (options.json)
        PrintJson({{"files", files}, {"failures", FailuresJson(failures)}});
    EndBatch(failures);
}

} // namespace

void AddThumbprint(CLI::App& app)
{
    auto options = std::make_shared<ThumbprintArguments>();
    CLI::App& command =
        *app.add_subcommand("thumbprint", "Save thumbprints, by which the same graphics are known again");
    command.add_option("FILE", options->files, "CD+G files, disc images, folders of them")->required()->type_name("");
    command.add_option("-o,--output", options->output, "File to write; a folder for several")
        ->required()
        ->type_name("T");
    AddJobsOption(command, options->jobs);
    AddJsonFlag(command, options->json);
    command.footer(
        "\nA thumbprint holds one bit for each visible pixel every 20 seconds: whether something is there. Of one\n"
        "FILE it is written to T. Of several, or of a folder, T is a folder, made when missing, and each\n"
        "thumbprint is called like its stream, with .thumbprint behind; folders below are kept.\n" +
        std::string(kBatchHelp) +
        "\nExamples:\n  nvtool thumbprint track.bin -o track.thumbprint\n  nvtool thumbprint songs -o prints");
    command.callback([options] { RunThumbprint(*options); });
}

} // namespace nvtool
