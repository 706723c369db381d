// See CueSheet.h. Places in a sheet count from the start of the file that was named last; on the disc the files follow
// one another, behind two seconds of lead-in.
#include "CueSheet.h"

#include "TextParts.h"
#include "WaveFile.h"
#include "audio/FileCalls.h"

#include <filesystem>
#include <optional>

namespace NV {
namespace {

constexpr i64 framesASecond = 75;
constexpr i64 leadIn = 2 * framesASecond;
constexpr i64 longestSheet = 1 << 20;
constexpr i64 longestDisc = 100LL * 60 * framesASecond;
constexpr std::size_t mostSheetTracks = 99;

/// The next word of a line; one in quotes may hold blanks.
std::string_view TakeQuoted(std::string_view& line)
{
    if (line.empty() || line.front() != '"')
        return TakeWord(line);
    const std::size_t end = line.find('"', 1);
    const std::string_view word = line.substr(1, end == std::string_view::npos ? end : end - 1);
    line.remove_prefix(end == std::string_view::npos ? line.size() : end + 1);
    line = TrimmedBlanks(line);
    return word;
}

/// "MM:SS:FF" as frames.
std::optional<i64> ParseMsf(std::string_view text)
{
    i64 parts[3] = {};
    for (int i = 0; i < 3; ++i) {
        std::string_view rest;
        const auto number = LeadingNumber(text, &rest);
        if (!number || (i < 2 && (rest.empty() || rest.front() != ':')) || (i == 2 && !rest.empty()))
            return std::nullopt;
        parts[i] = *number;
        text = i < 2 ? rest.substr(1) : rest;
    }
    if (parts[0] > 99 || parts[1] > 59 || parts[2] >= framesASecond)
        return std::nullopt;
    return (parts[0] * 60 + parts[1]) * framesASecond + parts[2];
}

/// Bytes of a sector in a file of raw ones, by a track's mode.
i64 SectorSize(std::string_view mode)
{
    struct Row {
        const char* mode;
        i64 bytes;
    };
    constexpr Row rows[] = {{"AUDIO", 2352},      {"CDG", 2448},        {"MODE1/2048", 2048}, {"MODE1/2352", 2352},
                            {"MODE2/2336", 2336}, {"MODE2/2352", 2352}, {"CDI/2336", 2336},   {"CDI/2352", 2352}};
    for (const Row& row : rows) {
        if (SameWithoutCase(mode, row.mode))
            return row.bytes;
    }
    return 0;
}

class CueReader {
public:
    explicit CueReader(const std::string& sheet) : folder(std::filesystem::path(sheet).parent_path()) {}

    bool ParseLine(std::string_view line)
    {
        line = TrimmedBlanks(line);
        const std::string_view command = TakeWord(line);
        if (SameWithoutCase(command, "FILE"))
            return EndFile() && BeginFile(line);
        if (SameWithoutCase(command, "TRACK"))
            return BeginTrack(line);
        if (SameWithoutCase(command, "INDEX"))
            return TakeIndex(line);
        if (SameWithoutCase(command, "PREGAP") || SameWithoutCase(command, "POSTGAP"))
            return TakeGap(line);
        return true; // titles and the like
    }

    bool Finish(std::vector<DiscPosition>& positions)
    {
        if (!EndFile() || starts.empty() || fileStart > longestDisc || starts.back() >= fileStart)
            return false;
        starts.push_back(fileStart);
        for (const i64 at : starts)
            positions.push_back({static_cast<int>((at + leadIn) / (60 * framesASecond)),
                                 static_cast<int>((at + leadIn) / framesASecond % 60),
                                 static_cast<int>((at + leadIn) % framesASecond)});
        return true;
    }

private:
    bool BeginFile(std::string_view line)
    {
        fileName = TakeQuoted(line);
        isWave = SameWithoutCase(line, "WAVE");
        sectorSize = 0;
        return !fileName.empty() && (isWave || SameWithoutCase(line, "BINARY") || SameWithoutCase(line, "MOTOROLA"));
    }

    bool BeginTrack(std::string_view line)
    {
        const auto number = LeadingNumber(TakeWord(line));
        const i64 size = SectorSize(line);
        if (!number || fileName.empty() || size == 0 || !hasStart || tracks >= mostSheetTracks)
            return false;
        if (sectorSize == 0)
            sectorSize = size;
        ++tracks;
        hasStart = false;
        return true;
    }

    bool TakeIndex(std::string_view line)
    {
        const auto number = LeadingNumber(TakeWord(line));
        const auto at = ParseMsf(line);
        if (!number || !at || tracks == 0)
            return false;
        if (*number != 1)
            return true;
        const i64 start = fileStart + *at;
        if (hasStart || (!starts.empty() && start <= starts.back()))
            return false;
        starts.push_back(start);
        hasStart = true;
        return true;
    }

    /// Silence that no file holds: what comes behind it in the file lies that much later on the disc.
    bool TakeGap(std::string_view line)
    {
        const auto length = ParseMsf(line);
        if (!length || tracks == 0)
            return false;
        fileStart += *length;
        return true;
    }

    /// Adds the length of the file that was gone through.
    bool EndFile()
    {
        if (fileName.empty())
            return true;
        const std::string path = (folder / fileName).string();
        i64 frames = 0;
        if (isWave) {
            CWaveFile wave;
            if (!wave.Open(path.c_str(), CFile::modeRead | CFile::shareDenyNone) || wave.GetSamplesPerSec() <= 0)
                return false;
            frames = wave.GetLength() / std::max<i64>(1, wave.GetSamplesPerSec() / framesASecond);
        } else {
            CFileStatus status;
            if (sectorSize == 0 || !CFile::GetStatus(path.c_str(), status) || (status.m_attribute & CFile::directory))
                return false;
            frames = static_cast<i64>(status.m_size) / sectorSize;
        }
        if (!hasStart || frames > longestDisc)
            return false;
        fileStart += frames;
        fileName.clear();
        return true;
    }

    std::filesystem::path folder;
    std::string fileName;
    bool isWave = false, hasStart = true;
    i64 sectorSize = 0;
    i64 fileStart = 0; // on the disc, of the file that is gone through; lead-in not counted
    std::size_t tracks = 0;
    std::vector<i64> starts;
};

} // namespace

bool ReadCueSheet(const std::string& path, std::vector<DiscPosition>& positions)
{
    positions.clear();
    // A drive is not opened as a file, which may take seconds.
    const std::size_t dot = path.rfind('.');
    if (dot == std::string::npos || !SameWithoutCase(std::string_view(path).substr(dot), ".cue"))
        return false;
    std::string text;
    const bool read = Succeeds([&] {
        CFile file(path.c_str(), CFile::modeRead | CFile::shareDenyNone);
        const i64 length = static_cast<i64>(std::min<ULONGLONG>(file.GetLength(), longestSheet + 1));
        text.resize(static_cast<std::size_t>(length));
        i64 done = 0;
        ReadBytes(file, text.data(), length, done);
        text.resize(static_cast<std::size_t>(done));
    });
    if (!read || static_cast<i64>(text.size()) > longestSheet)
        return false;
    if (text.rfind("\xEF\xBB\xBF", 0) == 0) // a mark that some programs put in front of UTF-8
        text.erase(0, 3);
    CueReader reader(path);
    std::string_view rest = text;
    for (std::string_view line; TakeLine(rest, line);) {
        if (!reader.ParseLine(line))
            return false;
    }
    return reader.Finish(positions);
}

} // namespace NV
