// Whole streams in the library's analyser.
#pragma once

#include "CDGAnalyzer.h"
#include "NamedStream.h"

#include <filesystem>

namespace nvtool {

// A stream with all its packs in memory. Loading draws a progress bar. Not movable: the analyser holds on to the file.
class Analysis {
public:
    // Throws Error when the file cannot be read or holds no graphics, Interruption when Ctrl-C was pressed.
    explicit Analysis(const std::filesystem::path& path);
    Analysis(const Analysis&) = delete;
    Analysis& operator=(const Analysis&) = delete;

    CCDGAnalyzer& Get() { return analyzer; }

private:
    NamedStream stream;
    CFile file;
    CCDGAnalyzer analyzer; // reads from `file`, so it goes first
};

} // namespace nvtool
