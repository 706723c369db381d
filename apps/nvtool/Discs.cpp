// See Discs.h.
#include "Discs.h"

#include "Commands.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace nvtool {
using nlohmann::ordered_json;

namespace {

constexpr int kFramesASecond = 75;
constexpr size_t kMostTracks = 99;

i32 FramesOf(const CCDDBTrackPosition& at)
{
    return (at.minutes * 60 + at.seconds) * kFramesASecond + at.frames;
}

CCDDBTrackPosition ParsePlace(const std::string& text)
{
    CCDDBTrackPosition at;
    char extra = 0;
    if (std::sscanf(text.c_str(), "%4d:%2d:%2d%c", &at.minutes, &at.seconds, &at.frames, &extra) != 3 ||
        at.minutes < 0 || at.minutes > 999 || at.seconds < 0 || at.seconds > 59 || at.frames < 0 ||
        at.frames >= kFramesASecond)
        throw CLI::ValidationError("'" + text + "' is no place on a disc: minutes:seconds:frames, 75 frames a second");
    return at;
}

Disc DiscOf(const std::string& name, const std::vector<CCDDBTrackPosition>& positions)
{
    Disc disc;
    disc.name = name;
    disc.id = CCDDB::ComputeDiscID(positions);
    disc.positions = positions;
    for (size_t i = 0; i + 1 < positions.size(); ++i)
        disc.offsets.push_back(FramesOf(positions[i]));
    return disc;
}

Disc DiscOfPlaces(const std::vector<std::string>& places)
{
    std::vector<CCDDBTrackPosition> positions;
    for (const std::string& place : places) {
        positions.push_back(ParsePlace(place));
        if (positions.size() > 1 && FramesOf(positions.back()) <= FramesOf(positions[positions.size() - 2]))
            throw CLI::ValidationError("the places of a disc follow one another: '" + place + "' does not");
    }
    if (positions.size() < 2 || positions.size() > kMostTracks + 1)
        throw CLI::ValidationError("a disc has 1 to 99 tracks and a lead-out");
    return DiscOf("disc", positions);
}

Disc DiscOfDrive(const std::string& drive, const char* otherwise)
{
    std::vector<CCDDBTrackPosition> positions;
    if (!CCDDB::GetTrackPositions(positions, drive.c_str()))
        throw Error(drive, otherwise);
    return DiscOf(drive, positions);
}

void ReadList(const std::string& path, std::vector<Disc>& discs)
{
    RequireReadable(path);
    std::ifstream file(path);
    const size_t before = discs.size();
    int number = 0;
    for (std::string line; std::getline(file, line);) {
        ++number;
        std::istringstream fields(line);
        Disc disc;
        if (!(fields >> disc.name) || disc.name[0] == '#')
            continue;
        const bool hasId = ParseDiscId(disc.name, disc.id);
        for (i32 offset = 0; fields >> offset;)
            disc.offsets.push_back(offset);
        if (!hasId || disc.offsets.empty() || disc.offsets.size() > kMostTracks || !fields.eof())
            throw Error(path,
                        "line " + std::to_string(number) + " is no disc: an id, then the frames where tracks begin");
        discs.push_back(disc);
    }
    if (discs.size() == before)
        throw Error(path, "holds no disc: an id, then the frames where tracks begin, one disc a line");
}

} // namespace

void AddDiscOptions(CLI::App& command, DiscOptions& options, bool withList)
{
    command
        .add_option("PLACES", options.places,
                    "Where the tracks begin, then the lead-out: M:S:F, 75 frames a second, lead-in counted")
        ->type_name("");
    command
        .add_option("--image", options.images, "Image with a table of contents: a cue sheet (on Linux also .toc, .nrg)")
        ->type_name("FILE")
        ->allow_extra_args(false);
    command.add_option("--drive", options.drives, "CD drive: a letter on Windows, a device elsewhere")
        ->type_name("DRIVE")
        ->allow_extra_args(false);
    if (withList)
        command
            .add_option("--list", options.list, "File of discs, one a line: id, then the frames where its tracks begin")
            ->type_name("FILE");
}

std::vector<Disc> ReadDiscs(const DiscOptions& options)
{
    std::vector<Disc> discs;
    if (!options.places.empty())
        discs.push_back(DiscOfPlaces(options.places));
    for (const std::string& image : options.images) {
        RequireReadable(image);
        discs.push_back(
            DiscOfDrive(image, "holds no table of contents that can be read, or a file that it names is missing"));
    }
    for (const std::string& drive : options.drives)
        discs.push_back(DiscOfDrive(drive, "there is no such drive, or no disc in it"));
    if (!options.list.empty())
        ReadList(options.list, discs);
    if (discs.empty())
        throw CLI::RequiredError("PLACES, --image or --drive");
    return discs;
}

std::string DiscIdText(u32 id)
{
    char text[16];
    std::snprintf(text, sizeof(text), "%08x", id);
    return text;
}

bool ParseDiscId(const std::string& text, u32& id)
{
    if (text.size() != 8 || text.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos)
        return false;
    id = static_cast<u32>(std::strtoul(text.c_str(), nullptr, 16));
    return true;
}

ordered_json DiscJson(const Disc& disc)
{
    ordered_json json = {{"name", disc.name},
                         {"discId", DiscIdText(disc.id)},
                         {"tracks", disc.offsets.size()},
                         {"offsets", disc.offsets}};
    if (!disc.positions.empty())
        json["leadOut"] = FramesOf(disc.positions.back());
    return json;
}

ordered_json RecordJson(const CCDDBRecord& record, Encoding encoding)
{
    const auto text = [&](const CString& value) {
        return Readable({value.GetString(), size_t(value.GetLength())}, encoding);
    };
    ordered_json json = {{"category", text(record.category)},
                         {"discId", DiscIdText(record.discId)},
                         {"artist", text(record.artist)},
                         {"title", text(record.title)},
                         {"year", record.year},
                         {"genre", text(record.genre)},
                         {"length", record.discLength},
                         {"revision", record.revision},
                         {"notes", text(record.extendedData)}};
    json["tracks"] = ordered_json::array();
    for (size_t i = 0; i < record.trackTitles.size(); ++i) {
        ordered_json track = {{"title", text(record.trackTitles[i])}, {"notes", text(record.extendedTrackData[i])}};
        if (i < record.frameOffsets.size())
            track["offset"] = record.frameOffsets[i];
        json["tracks"].push_back(track);
    }
    return json;
}

void PrintRecord(const CCDDBRecord& record, Encoding encoding)
{
    const auto text = [&](const CString& value) {
        return Readable({value.GetString(), size_t(value.GetLength())}, encoding);
    };
    std::printf("%s / %s\n", text(record.artist).c_str(), text(record.title).c_str());
    std::printf("  %s %s", text(record.category).c_str(), DiscIdText(record.discId).c_str());
    if (record.year != 0)
        std::printf(", %d", record.year);
    if (!record.genre.IsEmpty())
        std::printf(", %s", text(record.genre).c_str());
    std::printf("\n");
    for (size_t i = 0; i < record.trackTitles.size(); ++i)
        std::printf("  %2zu  %s\n", i + 1, text(record.trackTitles[i]).c_str());
}

} // namespace nvtool
