// Titles for 'nvtool process', from a local database by the table of contents that lies beside the image.
#pragma once

#include "CommandLineFwd.h"
#include "Discs.h"

#include <filesystem>
#include <optional>

namespace nvtool {

struct DiscTitles {
    Disc disc;
    CCDDBRecord record;
    Encoding encoding = Encoding::automatic;
};

struct DiscTitlesOptions {
    std::string db;
    Encoding encoding = Encoding::automatic;
};

// Adds --db and --encoding.
void AddDiscTitlesOptions(CLI::App& command, DiscTitlesOptions& options);

// Looks the disc up whose table of contents has the image's name with another ending (.cue; on Linux also .toc, .nrg).
// Nothing, and why in `remark`, when there is no table or no record. Throws Error when the database is not there.
std::optional<DiscTitles> FindDiscTitles(const std::filesystem::path& image, const DiscTitlesOptions& options,
                                         std::string& remark);

// The section of the page: title and tracks, each to be played from.
std::string DiscTitlesHtml(const DiscTitles& titles);

} // namespace nvtool
