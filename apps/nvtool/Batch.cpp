// Many inputs: see Batch.h.
#include "Batch.h"

#include "Commands.h"
#include "Inputs.h"
#include "Interrupt.h"
#include "WorkerPool.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <atomic>
#include <new>
#include <thread>

namespace nvtool {
namespace fs = std::filesystem;

namespace {

bool IsStreamName(const fs::path& path)
{
    const std::string extension = LowerExtension(path);
    return extension == ".cdg" || extension == ".bin";
}

void AddFolder(const fs::path& root, const fs::path& below, std::vector<BatchInput>& inputs)
{
    const fs::path folder = below.empty() ? root : root / below;
    std::error_code failure;
    std::vector<fs::directory_entry> entries;
    for (fs::directory_iterator at(folder, failure), end; !failure && at != end; at.increment(failure)) {
        Progress::Check();
        entries.push_back(*at);
    }
    if (failure)
        inputs.push_back({folder, SlashedText(folder), below, true, "cannot be listed: " + failure.message()});
    std::sort(entries.begin(), entries.end());
    for (const fs::directory_entry& entry : entries) {
        const fs::path relative = below / entry.path().filename();
        std::error_code unknown; // what cannot be asked is no folder and, by its name, perhaps a stream
        if (entry.is_directory(unknown) && !entry.is_symlink(unknown))
            AddFolder(root, relative, inputs);
        else if (IsStreamName(relative) && !entry.is_directory(unknown))
            inputs.push_back({entry.path(), SlashedText(entry.path()), relative, true, {}});
    }
}

u64 SizeOf(const BatchInput& input)
{
    std::error_code failure;
    const auto size = fs::file_size(input.path, failure);
    return failure ? 0 : size;
}

struct Outcome {
    std::function<void()> deliver;
    std::string failure;
};

// Never throws: whatever goes wrong with one input is that input's failure.
Outcome WorkOn(const BatchInput& input, const BatchWork& work, const Advance& advance)
{
    if (!input.failure.empty())
        return {{}, input.failure};
    try {
        return {work(input, advance), {}};
    } catch (const Interruption&) {
        return {}; // told once, where the batch ends
    } catch (const Error& error) {
        const bool ofInput = error.File() == input.name || fs::path(error.File()) == input.path;
        return {{}, ofInput ? error.what() : error.File() + ": " + error.what()};
    } catch (const std::bad_alloc&) {
        return {{}, "out of memory"};
    } catch (const std::exception& error) {
        return {{}, error.what()};
    }
}

} // namespace

const char* const kBatchHelp =
    "\nA folder stands for all files below it whose names end in .cdg or .bin; a .bin that holds no graphics\n"
    "is passed over. What fails is told on standard error, the rest is done, and the exit code is 1.\n"
    "Ctrl-C ends the work with exit code 130.\n";

void AddJobsOption(CLI::App& command, int& jobs)
{
    command.add_option("--jobs", jobs, "How many files to work on at a time, 0 for as many as there are cores")
        ->check(CLI::Range(0, 256))
        ->capture_default_str()
        ->type_name("N");
}

std::vector<BatchInput> ExpandInputs(const std::vector<std::string>& given)
{
    std::vector<BatchInput> inputs;
    for (const std::string& text : given) {
        const fs::path path = text;
        std::error_code unknown;
        if (fs::is_directory(path, unknown))
            AddFolder(path, {}, inputs);
        else
            inputs.push_back({path, text, path.filename(), false, {}});
    }
    return inputs;
}

std::vector<BatchFailure> RunBatch(std::string_view label, const std::vector<BatchInput>& inputs, int jobs,
                                   const BatchWork& work)
{
    std::vector<u64> sizes;
    std::transform(inputs.begin(), inputs.end(), std::back_inserter(sizes), SizeOf);
    u64 total = 0;
    for (const u64 size : sizes)
        total += size;
    std::atomic<u64> done = 0;
    std::vector<Outcome> outcomes(inputs.size());
    std::vector<BatchFailure> failures;
    Progress progress(label, total);
    const auto workOn = [&](size_t i) {
        u64 left = sizes[i];
        const auto advance = [&](u64 bytes) {
            const u64 step = std::min(bytes, left);
            left -= step;
            done += step;
        };
        if (!IsInterrupted())
            outcomes[i] = WorkOn(inputs[i], work, advance);
        done += left;
    };
    const auto deliver = [&](size_t i) {
        progress.Check();
        const Outcome outcome = std::move(outcomes[i]);
        if (!outcome.failure.empty() || outcome.deliver)
            progress.Hide();
        if (!outcome.failure.empty()) {
            Warn(inputs[i].name, outcome.failure);
            failures.push_back({inputs[i].name, outcome.failure});
        } else if (outcome.deliver) {
            outcome.deliver();
        }
    };
    const unsigned cores = std::max(std::thread::hardware_concurrency(), 1u);
    RunInOrder(inputs.size(), jobs > 0 ? static_cast<unsigned>(jobs) : cores, workOn, deliver,
               [&] { progress.Update(done); });
    return failures;
}

bool IsPassedOver(const BatchInput& input)
{
    if (!input.found || LowerExtension(input.path) != ".bin")
        return false;
    const StreamKind kind = Identify(input.path).kind;
    return kind != StreamKind::Graphics && kind != StreamKind::DiscImage;
}

nlohmann::ordered_json FailuresJson(const std::vector<BatchFailure>& failures)
{
    nlohmann::ordered_json json = nlohmann::ordered_json::array();
    for (const BatchFailure& failure : failures)
        json.push_back({{"file", failure.file}, {"message", failure.message}});
    return json;
}

void EndBatch(const std::vector<BatchFailure>& failures)
{
    if (!failures.empty())
        throw AlreadyTold();
}

} // namespace nvtool
