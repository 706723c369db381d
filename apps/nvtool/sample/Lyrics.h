// The words that the sample track sings: made up for it, in lines of two bars.
#pragma once

#include <string>
#include <vector>

namespace nvtool::sample {

// Words parted by blanks; a hyphen parts the syllables of a word and is not shown.
struct Stanza {
    const char* lines[4];
};

extern const std::vector<Stanza> kVerses, kChoruses;
extern const std::vector<const char*> kTitles;

// "Lan-terns on" gives "Lan", "terns ", "on": what each note shows, with the blank behind a word.
std::vector<std::string> Syllables(const char* line);

} // namespace nvtool::sample
