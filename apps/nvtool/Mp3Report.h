// What is told about an MP3 file.
#pragma once

#include "MP3Info.h"
#include "MPEGAudio.h"

#include <filesystem>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>

namespace nvtool {

struct Mp3Report {
    CMP3Info info;
    std::optional<MPEGVBRClaim> claim; // what a VBR header says, true or not
    std::string remark;                // when that is not what was counted, or the frames do not hold together
};

// Nothing when the file is no MPEG audio: neither its contents nor, where they are damaged, its name and contents say
// so.
std::optional<Mp3Report> ReadMp3(const std::filesystem::path& path);

// "MPEG-1 Layer III sound".
std::string Mp3KindText(const Mp3Report& report);

// What the walk over the frames gave, the VBR header's claim and the tag; null for what is not there.
nlohmann::ordered_json Mp3Json(const Mp3Report& report);
// On standard output, one fact a line.
void PrintMp3(const Mp3Report& report);

// The tag alone.
nlohmann::ordered_json TagJson(const CMP3Info& info);
void PrintTag(const CMP3Info& info);

} // namespace nvtool
