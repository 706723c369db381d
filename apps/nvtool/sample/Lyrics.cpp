// The words themselves: see Lyrics.h.
#include "Lyrics.h"

namespace nvtool::sample {

// A line holds five to nine syllables and is no wider than the screen at double size; the tests measure both.
const std::vector<Stanza> kVerses = {
    {{"Lan-terns on the qui-et bay", "drift and car-ry night a-way", "One by one be-gin to shine",
      "put your light be-side mine"}},
    {{"Fer-ries hum a-long the pier", "ev-ery win-dow draw-ing near", "Tell me what the riv-er said",
      "be-fore it went off to bed"}},
    {{"Rain is tap-ping on the tin", "o-pen up and let it in", "Ev-ery drop a lit-tle drum",
      "and the o-ther voi-ces hum"}},
    {{"Chalk a moon up-on the wall", "big e-nough to light us all", "If it fades we draw a-gain",
      "one for now, one for then"}},
};

const std::vector<Stanza> kChoruses = {
    {{"Sing it out, sing it wide", "let it car-ry like a tide", "Sing it low, sing it clear",
      "all of us are meet-ing here"}},
    {{"Here we go a-round a-gain", "count it in from one to ten", "No-bod-y is left be-hind",
      "just the mu-sic on my mind"}},
};

const std::vector<const char*> kTitles = {"Lantern Bay", "Chalk Moon", "Paper Tide", "Tin Roof Rain"};

std::vector<std::string> Syllables(const char* line)
{
    std::vector<std::string> syllables(1);
    for (const char* at = line; *at; ++at) {
        if (*at != '-')
            syllables.back() += *at;
        if (*at == '-' || *at == ' ')
            syllables.emplace_back();
    }
    return syllables;
}

} // namespace nvtool::sample
