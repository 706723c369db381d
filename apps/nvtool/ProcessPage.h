// The page that 'nvtool process' leaves for a person: one HTML file that refers to nothing but the files beside it.
#pragma once

#include "DiscTitles.h"
#include "Pages.h"
#include "ScreenPictures.h"
#include "Sound.h"
#include "StreamInfo.h"

#include <optional>
#include <string>
#include <vector>

namespace nvtool {

struct PrintFacts {
    std::string name; // of the file
    size_t bytes = 0;
    int bitsSet = 0;
};

// What the tag of an MP3 file says, as UTF-8; empty where it says nothing.
struct SongFacts {
    std::string title, artist, album;
};

// Everything that a run found; names are those of the files beside the page, empty where there is none.
struct TrackResults {
    std::string title; // the track's file name
    StreamIdentity identity;
    std::optional<SoundReport> sound;
    std::optional<CDGStreamInfo> graphics;
    PageList pages;
    std::vector<std::string> pictures; // one a page
    size_t screenCount = 0;
    std::vector<ScreenRun> screens;
    bool screensCut = false; // there were more
    std::string wav, mp3, cdg, sheet, waveform, script;
    std::optional<PrintFacts> print;
    std::optional<DiscTitles> titles;
    std::optional<SongFacts> song;
    std::vector<std::string> remarks;

    // The longer one of sound and graphics.
    double Seconds() const;
    // What the track is.
    std::string Description() const;
};

// The whole HTML text, UTF-8. Each section is a function of its own and gives nothing when it has nothing to show.
std::string BuildProcessPage(const TrackResults& results);

} // namespace nvtool
