// Discs as a person names them: by the places of their tracks, by an image, by a drive, or in a list; and what is known
// of them as text and JSON. Places are minutes, seconds and frames with the lead-in counted, or frames.
#pragma once

#include "CDDB.h"
#include "CommandLineFwd.h"
#include "TextEncoding.h"

#include <nlohmann/json_fwd.hpp>

#include <string>
#include <vector>

namespace nvtool {

struct DiscOptions {
    std::vector<std::string> places; // one disc: its tracks, then the lead-out
    std::vector<std::string> images, drives;
    std::string list;
};

struct Disc {
    std::string name; // as the person gave it; "disc" for places
    u32 id = 0;
    std::vector<i32> offsets;                  // frames, one a track
    std::vector<CCDDBTrackPosition> positions; // with the lead-out; empty when only id and offsets are known
};

// Adds M:S:F ..., --image, --drive and, for commands that take many discs, --list.
void AddDiscOptions(CLI::App& command, DiscOptions& options, bool withList);

// All discs that are named. Throws Error for one that cannot be read, and CLI::ValidationError when there is none.
std::vector<Disc> ReadDiscs(const DiscOptions& options);

nlohmann::ordered_json DiscJson(const Disc& disc);
nlohmann::ordered_json RecordJson(const CCDDBRecord& record, Encoding encoding);
void PrintRecord(const CCDDBRecord& record, Encoding encoding);

// "9a0bed0d".
std::string DiscIdText(u32 id);
// Eight hexadecimal digits and nothing else.
bool ParseDiscId(const std::string& text, u32& id);

} // namespace nvtool
