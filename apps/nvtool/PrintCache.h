// Thumbprints from earlier runs, kept in a folder of the user's and never beside the streams.
#pragma once

#include "Print.h"

#include <filesystem>
#include <string>

namespace nvtool {

// Any number of threads and programs at a time. A file in the folder holds one stream's thumbprint and says of which
// stream it is: path, size and time of the last change. It may be lost or damaged at any time; the thumbprint is then
// made anew. The layout is in docs/formats.md.
class PrintCache {
public:
    // Without a folder nothing is kept. Tells on standard error when the folder cannot be made.
    explicit PrintCache(const std::filesystem::path& folder);

    // nvtool's own part of the user's cache folder; empty when the user has none.
    static std::filesystem::path DefaultFolder();

    // The thumbprint of a stream, from the cache when it is there (`cached` says so). Throws Error like
    // Print::OfStream.
    Print OfStream(const std::filesystem::path& file, bool& cached) const;

private:
    std::filesystem::path folder;
};

} // namespace nvtool
