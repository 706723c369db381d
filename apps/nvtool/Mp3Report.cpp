// Telling about an MP3 file: see Mp3Report.h.
#include "Mp3Report.h"

#include "Commands.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <cstdio>

namespace nvtool {
namespace fs = std::filesystem;
using nlohmann::ordered_json;

namespace {

constexpr int kMpeg1 = 3;
constexpr const char* kVersions[] = {"reserved", "2.5", "2", "1"};
constexpr const char* kLayers[] = {"?", "I", "II", "III"};
constexpr const char* kChannelModes[] = {"stereo", "joint stereo", "dual channel", "mono"};
constexpr const char* kEmphases[] = {"none", "50/15 us", "reserved", "CCITT J.17"};

bool IsNamedMpegAudio(const fs::path& path)
{
    std::string extension = PathText(path.extension());
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    const std::array<const char*, 4> names = {".mp3", ".mp2", ".mp1", ".mpga"};
    return std::find(names.begin(), names.end(), extension) != names.end();
}

// The header's own frame counts for the walk and not for the claim. The walk gives whole seconds, and loses up to a
// hundredth of them where frames have parts of a byte.
std::string Disagreement(const CMP3Info& info, const MPEGVBRClaim& claim)
{
    const bool countsAlike = info.GetMPEGVersion() == kMpeg1; // otherwise the walk goes over every other frame
    const i64 counted = i64{info.GetNumFrames()} - 1;
    std::string text;
    if (claim.frames && countsAlike && i64{*claim.frames} != counted)
        text = std::to_string(*claim.frames) + " frames where there are " + std::to_string(std::max<i64>(counted, 0));
    if (claim.seconds && std::abs(*claim.seconds - info.GetLength()) > 1.0 + *claim.seconds / 100)
        text += (text.empty() ? "" : ", ") + TimeText(*claim.seconds) + " where there are " +
                CMP3Info::GetLengthString(info.GetLength()).GetString();
    return text.empty() ? text : std::string("the ") + claim.kind + " header is wrong: it claims " + text;
}

std::string Genre(const CMP3Info& info)
{
    const int index = info.GetGenreIndex();
    return index == 255 ? "" : std::to_string(index) + " " + CMP3Info::GetGenreString(index).GetString();
}

ordered_json ClaimJson(const std::optional<MPEGVBRClaim>& claim)
{
    if (!claim)
        return {};
    const auto number = [](const auto& value) { return value ? ordered_json(*value) : ordered_json(); };
    return {{"header", claim->kind},
            {"frames", number(claim->frames)},
            {"bytes", number(claim->bytes)},
            {"seconds", number(claim->seconds)}};
}

void PrintClaim(const MPEGVBRClaim& claim)
{
    std::string text = std::string(claim.kind) + " header:";
    if (claim.seconds)
        text += " " + TimeText(*claim.seconds);
    if (claim.frames)
        text += ", " + std::to_string(*claim.frames) + " frames";
    if (claim.bytes)
        text += ", " + std::to_string(*claim.bytes) + " bytes";
    std::printf("  %-22s %s (not relied on)\n", "claimed by", text.c_str());
}

} // namespace

std::optional<Mp3Report> ReadMp3(const fs::path& path)
{
    const CString name = path.string().c_str();
    const bool proven = IsMPEGAudio(name);
    Mp3Report report;
    if (!(proven || IsNamedMpegAudio(path)) || !report.info.Open(name) || report.info.GetValidity() == 0)
        return std::nullopt;
    if (MPEGVBRClaim claim; ReadVBRClaim(name, claim)) {
        report.remark = Disagreement(report.info, claim);
        report.claim = claim;
    }
    if (!proven)
        report.remark =
            "no frames that follow each other at the beginning: damaged, free-format, or not MPEG audio at all";
    return report;
}

std::string Mp3KindText(const Mp3Report& report)
{
    const CMP3Info& info = report.info;
    if (!(info.GetValidity() & CMP3Info::validFrames))
        return "MPEG sound without frames that can be counted";
    return std::string("MPEG-") + kVersions[info.GetMPEGVersion()] + " Layer " + kLayers[info.GetMPEGLayer()] +
           " sound";
}

ordered_json TagJson(const CMP3Info& info)
{
    if (!(info.GetValidity() & CMP3Info::validTag))
        return {};
    const int genre = info.GetGenreIndex();
    return {{"title", info.GetTitle().GetString()},
            {"artist", info.GetArtist().GetString()},
            {"album", info.GetAlbum().GetString()},
            {"year", info.GetYear().GetString()},
            {"comment", info.GetComment().GetString()},
            {"track", info.GetTrack()},
            {"genre", genre},
            {"genreName", CMP3Info::GetGenreString(genre).GetString()}};
}

ordered_json Mp3Json(const Mp3Report& report)
{
    const CMP3Info& info = report.info;
    ordered_json json;
    json["frames"] = nullptr;
    if (info.GetValidity() & CMP3Info::validFrames)
        json = {{"frames", info.GetNumFrames()},
                {"seconds", info.GetLength()},
                {"version", kVersions[info.GetMPEGVersion()]},
                {"layer", info.GetMPEGLayer()},
                {"averageKbit", info.GetBitRate()},
                {"samplesPerSecond", info.GetSampleRate()},
                {"channelMode", kChannelModes[info.GetChannelMode()]},
                {"emphasis", kEmphases[info.GetEmphasis()]},
                {"protectionBit", info.HasCRC()},
                {"copyright", info.IsCopyrighted() != 0},
                {"original", info.IsOriginal() != 0}};
    json["claimed"] = ClaimJson(report.claim);
    json["tag"] = TagJson(info);
    return json;
}

void PrintTag(const CMP3Info& info)
{
    const auto line = [](const char* what, const std::string& text) {
        if (!text.empty())
            std::printf("  %-22s %s\n", what, text.c_str());
    };
    line("title", info.GetTitle().GetString());
    line("artist", info.GetArtist().GetString());
    line("album", info.GetAlbum().GetString());
    line("year", info.GetYear().GetString());
    line("comment", info.GetComment().GetString());
    line("track", info.GetTrack() > 0 ? std::to_string(info.GetTrack()) : "");
    line("genre", Genre(info));
}

void PrintMp3(const Mp3Report& report)
{
    const CMP3Info& info = report.info;
    if (info.GetValidity() & CMP3Info::validFrames) {
        std::printf("  %-22s %s, %d frames, %d kbit/s on average\n", "sound",
                    CMP3Info::GetLengthString(info.GetLength()).GetString(), info.GetNumFrames(), info.GetBitRate());
        std::printf("  %-22s %d Hz, %s, emphasis %s\n", "format", info.GetSampleRate(),
                    kChannelModes[info.GetChannelMode()], kEmphases[info.GetEmphasis()]);
        std::printf("  %-22s %s, %s, %s\n", "marks", info.HasCRC() ? "no CRC" : "CRC",
                    info.IsCopyrighted() ? "copyright" : "no copyright", info.IsOriginal() ? "original" : "copy");
    }
    if (report.claim)
        PrintClaim(*report.claim);
    if (info.GetValidity() & CMP3Info::validTag)
        PrintTag(info);
    else
        std::printf("  %-22s none\n", "ID3v1 tag");
}

} // namespace nvtool
