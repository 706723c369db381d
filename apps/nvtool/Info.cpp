// nvtool info: what a file is by its contents, and what it is made of.
#include "Commands.h"
#include "FFMpeg.h"
#include "GraphicsReport.h"
#include "Inputs.h"
#include "Mp3Report.h"
#include "Sound.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <cstdio>
#include <memory>
#include <optional>
#include <vector>

namespace nvtool {

namespace {

struct InfoArguments {
    std::string file;
    bool json = false;
};

struct Facts {
    StreamIdentity identity;
    std::string kindText;
    std::optional<SoundReport> sound;
    std::optional<CDGStreamInfo> graphics;
    std::optional<Mp3Report> mp3;
    std::optional<FoundSound> found; // by ffmpeg, in what is of no kind of ours
    std::vector<std::string> remarks;
    std::string failure; // why the file is of no use, when it is
};

// The word for a kind in reports.
const char* KindWord(const Facts& facts)
{
    if (facts.mp3)
        return "mp3";
    if (facts.found)
        return "sound";
    switch (facts.identity.kind) {
    case StreamKind::Empty:
        return "empty";
    case StreamKind::Wave:
        return "wav";
    case StreamKind::Graphics:
        return "cdg";
    case StreamKind::DiscImage:
        return "disc-image";
    case StreamKind::AudioImage:
        return "audio-image";
    case StreamKind::KmaPackage:
        return "kma";
    case StreamKind::Unknown:
        break;
    }
    return "unknown";
}

const char* RecordName(StreamKind kind)
{
    return kind == StreamKind::Graphics    ? "records of 96 bytes"
           : kind == StreamKind::DiscImage ? "sectors of 2448 bytes"
                                           : "sectors of 2352 bytes";
}

// Formats that store one sample after the other: PCM, floating point, A-law, mu-law, and the extensible form of these.
bool HasBareSamples(const WAVEFORMATEX& format)
{
    const int tag = format.wFormatTag;
    return tag == 1 || tag == 3 || tag == 6 || tag == 7 || tag == 0xFFFE;
}

// A 2352-byte image is nothing but samples in the one format of a CD.
SoundReport DescribeAudioImage(ULONGLONG bytes)
{
    SoundReport report;
    CSoundFile::SetDefaultFormat(&report.format);
    report.frames = static_cast<i64>(bytes / report.format.nBlockAlign);
    report.seconds = double(report.frames) / report.format.nSamplesPerSec;
    return report;
}

Facts Gather(const std::string& file)
{
    Facts facts;
    facts.identity = Identify(file);
    facts.kindText = KindText(facts.identity);
    if (facts.identity.kind == StreamKind::Wave || facts.identity.kind == StreamKind::DiscImage) {
        if (const auto sound = OpenSound(file, facts.identity.kind))
            facts.sound = DescribeSound(*sound);
        else
            facts.failure = kBrokenSound;
    } else if (facts.identity.kind == StreamKind::AudioImage) {
        facts.sound = DescribeAudioImage(facts.identity.length);
    }
    if (facts.identity.kind == StreamKind::Graphics || facts.identity.kind == StreamKind::DiscImage) {
        GraphicsInput input(file);
        facts.graphics = ScanGraphics(input, file);
    }
    if (facts.identity.kind == StreamKind::Unknown)
        facts.mp3 = ReadMp3(file);
    if (facts.mp3) {
        facts.kindText = Mp3KindText(*facts.mp3);
        if (!facts.mp3->remark.empty())
            facts.remarks.push_back(facts.mp3->remark);
    }
    if (facts.identity.kind == StreamKind::Empty)
        facts.failure = "is empty";
    if (facts.identity.kind == StreamKind::Unknown && !facts.mp3)
        facts.found = FindSound(file);
    if (facts.found)
        facts.kindText = kOtherSound;
    else if (facts.identity.kind == StreamKind::Unknown && !facts.mp3)
        facts.failure = "is of no known kind";

    if (std::string remark = NameRemark(facts.identity, file); !remark.empty())
        facts.remarks.push_back(std::move(remark));
    if (facts.sound && !HasBareSamples(facts.sound->format))
        facts.remarks.push_back("compressed sound: frames are its blocks, so the length is not the playing time");
    if (StreamRecordSize(facts.identity.kind) > 0 && facts.identity.onlyZeros)
        facts.remarks.push_back("only zero bytes: the kind is taken from the name");
    if (StreamRecordSize(facts.identity.kind) > 0 && facts.identity.restBytes != 0)
        facts.remarks.push_back(std::to_string(facts.identity.restBytes) + " bytes behind the last whole record");
    if (facts.identity.kind == StreamKind::DiscImage && !facts.identity.hasGraphics && !facts.identity.onlyZeros)
        facts.remarks.push_back("the subcode is empty: there is room for graphics, but there are none");
    return facts;
}

nlohmann::ordered_json ToJson(const Facts& facts, const std::string& file)
{
    nlohmann::ordered_json json = {
        {"file", file}, {"kind", KindWord(facts)}, {"description", facts.kindText}, {"bytes", facts.identity.length}};
    if (StreamRecordSize(facts.identity.kind) > 0) {
        json["records"] = facts.identity.records;
        json["restBytes"] = facts.identity.restBytes;
    }
    if (facts.sound)
        json["sound"] = FormatJson(*facts.sound);
    if (facts.mp3)
        json["mpeg"] = Mp3Json(*facts.mp3);
    if (facts.found)
        json["ffmpeg"] = {{"sound", facts.found->description},
                          {"seconds", !facts.found->IsLengthKnown() ? nlohmann::ordered_json()
                                                                    : nlohmann::ordered_json(facts.found->seconds)}};
    if (facts.graphics)
        json["graphics"] = GraphicsJson(*facts.graphics);
    json["remarks"] = facts.remarks;
    return json;
}

void PrintInfo(const Facts& facts, const std::string& file)
{
    std::printf("%s: %s\n", file.c_str(), facts.kindText.c_str());
    std::printf("  %-22s %llu bytes", "size", facts.identity.length);
    if (StreamRecordSize(facts.identity.kind) > 0)
        std::printf(", %llu %s", facts.identity.records, RecordName(facts.identity.kind));
    std::printf("\n");
    if (facts.sound)
        std::printf("  %-22s %s, %lld frames, %s\n", "sound", TimeText(facts.sound->seconds).c_str(),
                    facts.sound->frames, FormatText(facts.sound->format).c_str());
    if (facts.mp3)
        PrintMp3(*facts.mp3);
    if (facts.found)
        std::printf("  %-22s %s, %s\n", "sound",
                    !facts.found->IsLengthKnown() ? "unknown length" : TimeText(facts.found->seconds).c_str(),
                    facts.found->description.c_str());
    if (facts.graphics)
        PrintGraphics(*facts.graphics);
    for (const std::string& remark : facts.remarks)
        std::printf("  %-22s %s\n", "remark", remark.c_str());
}

void RunInfo(const InfoArguments& options)
{
    const Facts facts = Gather(options.file);
    if (options.json)
        PrintJson(ToJson(facts, options.file));
    else
        PrintInfo(facts, options.file);
    if (!facts.failure.empty())
        throw Error(options.file, facts.failure);
}

} // namespace

void AddInfo(CLI::App& app)
{
    auto options = std::make_shared<InfoArguments>();
    CLI::App& command = *app.add_subcommand("info", "Tell what a file is by its contents, and what is in it");
    command.add_option("FILE", options->file, "Any file")->required()->type_name("");
    AddJsonFlag(command, options->json);
    command.footer("\nThe last change is the last pack after which the screen looks different: its pixels, colours,\n"
                   "scroll offsets or margins. Tiles drawn over equal ones and repeated presets are no change.\n"
                   "For an empty or unknown file the report is printed, and the exit code is 1.\n\n"
                   "Example:\n  nvtool info track.bin --json");
    command.callback([options] { RunInfo(*options); });
}

} // namespace nvtool
