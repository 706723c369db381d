// Commands that take many files and folders: what they stand for, all cores at work on it, and one file's failure told
// without an end to the rest.
#pragma once

#include "CommandLineFwd.h"
#include "NVTypes.h"

#include <nlohmann/json_fwd.hpp>

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace nvtool {

// Adds --jobs; 0 stands for all cores.
void AddJobsOption(CLI::App& command, int& jobs);

// What the help of such a command says of folders and failures.
extern const char* const kBatchHelp;

// One stream to work on.
struct BatchInput {
    std::filesystem::path path;
    std::string name;               // as it is told: as typed, or the folder as typed and what follows, with slashes
    std::filesystem::path relative; // below the folder that was given; of a file that was given, its name
    bool found = false;             // in a folder, not given by itself
    std::string failure;            // why there is nothing to work on: a folder that cannot be listed
};

// Files stand for themselves, folders for the files below them whose names end in .cdg or .bin, in the order of their
// names. Links to folders are not followed. Throws Interruption.
std::vector<BatchInput> ExpandInputs(const std::vector<std::string>& given);

struct BatchFailure {
    std::string file, message;
};

// Tells how many bytes more of an input are done.
using Advance = std::function<void(u64)>;
// Works on an input, on any thread, and returns what is to be done with the result, on the calling thread and in the
// order of the inputs; nothing for an input that is to be passed over. Throws Error when it fails.
using BatchWork = std::function<std::function<void()>(const BatchInput&, const Advance&)>;

// Failures go to standard error in the order of the inputs, and are returned. Throws Interruption.
std::vector<BatchFailure> RunBatch(std::string_view label, const std::vector<BatchInput>& inputs, int jobs,
                                   const BatchWork& work);

// True for a .bin found in a folder that is no stream: they are used for so much else.
bool IsPassedOver(const BatchInput& input);

nlohmann::ordered_json FailuresJson(const std::vector<BatchFailure>& failures);
// Throws AlreadyTold when there are any.
void EndBatch(const std::vector<BatchFailure>& failures);

} // namespace nvtool
