// nvtool find: which streams show the same graphics as a given one?
#include "Batch.h"
#include "Commands.h"
#include "Interrupt.h"
#include "PrintCache.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <cstdio>
#include <memory>

namespace nvtool {
namespace fs = std::filesystem;
using nlohmann::ordered_json;

namespace {

struct FindArguments {
    std::string file;
    std::vector<std::string> folders;
    std::string cache;
    bool noCache = false;
    int sameBits = kSameBits;
    int jobs = 0;
    bool json = false;
};

struct Findings {
    ordered_json matches = ordered_json::array();
    int streams = 0, cached = 0;
};

fs::path CacheFolder(const FindArguments& options)
{
    if (options.noCache)
        return {};
    return options.cache.empty() ? PrintCache::DefaultFolder() : fs::path(options.cache);
}

// The stream that is looked for has been found already.
bool IsTheFileItself(const fs::path& a, const fs::path& b)
{
    std::error_code failure;
    return fs::equivalent(a, b, failure) && !failure;
}

void RunFind(const FindArguments& options)
{
    CatchInterrupts();
    const PrintCache cache(CacheFolder(options));
    const Print wanted = Print::OfAny(options.file);
    if (wanted.Ink() == 0)
        throw Error(options.file,
                    "is too short or too blank to be looked for: nothing is on the screen every 20 seconds");
    Findings found;
    const auto work = [&](const BatchInput& input, const Advance&) -> std::function<void()> {
        if (IsTheFileItself(input.path, options.file) || IsPassedOver(input))
            return {};
        bool cached = false;
        const Print print = cache.OfStream(input.path, cached);
        const PrintMatch match = Match(wanted, print, options.sameBits);
        return [&, match, cached] {
            ++found.streams;
            found.cached += cached;
            if (!match.same)
                return;
            found.matches.push_back({{"file", input.name}, {"differingBits", match.differingBits}});
            if (!options.json)
                std::printf("%s  (differing bits: %d)\n", input.name.c_str(), match.differingBits);
        };
    };
    const std::vector<BatchInput> inputs = ExpandInputs(options.folders);
    const auto failures = RunBatch("comparing", inputs, options.jobs, work);
    if (options.json)
        PrintJson({{"file", options.file},
                   {"sameUpTo", options.sameBits},
                   {"streams", found.streams},
                   {"fromCache", found.cached},
                   {"matches", found.matches},
                   {"failures", FailuresJson(failures)}});
    else
        std::printf("%zu of %d streams show the same graphics\n", found.matches.size(), found.streams);
    EndBatch(failures);
}

} // namespace

void AddFind(CLI::App& app)
{
    auto options = std::make_shared<FindArguments>();
    CLI::App& command = *app.add_subcommand("find", "Find the streams that show the same graphics as a given one");
    command.add_option("FILE", options->file, "CD+G file, disc image or thumbprint file")->required()->type_name("");
    command.add_option("DIR", options->folders, "Folders to look through, or streams")->required()->type_name("");
    AddSameOption(command, options->sameBits);
    const std::string folder = PathText(PrintCache::DefaultFolder());
    auto* cache = command.add_option("--cache", options->cache,
                                     "Folder for the thumbprints of later runs; otherwise " +
                                         (folder.empty() ? std::string("none") : folder));
    cache->type_name("DIR");
    command.add_flag("--no-cache", options->noCache, "Make all thumbprints anew and keep none")->excludes(cache);
    AddJobsOption(command, options->jobs);
    AddJsonFlag(command, options->json);
    command.footer(
        "\nThumbprints are kept for the next time, until a stream's path, size or time changes. FILE itself is\n"
        "not listed.\n" +
        std::string(kBatchHelp) + "\nExample:\n  nvtool find track.bin songs more-songs");
    command.callback([options] { RunFind(*options); });
}

} // namespace nvtool
