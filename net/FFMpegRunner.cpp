// Running ffmpeg and reading its report: see FFMpegRunner.h.
#include "FFMpegRunner.h"

#include "NamedPipeReader.h"
#include "ScopedLock.h"

#include <atomic>
#include <charconv>
#include <memory>
#include <optional>
#include <stdexcept>
#include <system_error>

namespace NV {

namespace {

constexpr std::size_t kLongestTail = 65536; // of a report without line breaks; ffmpeg's lines have a few dozen bytes

// The number that a text begins with, as the C library's conversion reads it; 0 without one.
int NumberOrZero(std::string_view text)
{
    const std::size_t start = text.find_first_not_of(" \t\n\v\f\r");
    if (start == std::string_view::npos)
        return 0;
    text.remove_prefix(start);
    if (text.front() == '+' && text.size() > 1 && text[1] != '-')
        text.remove_prefix(1);
    int number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

// The same, with a text that is no time counting as unknown.
double TimeOrUnknown(std::string_view text)
{
    try {
        return CFFMpegRunner::GetTimeFromTimeString(text);
    } catch (const std::out_of_range&) {
        return -1.0;
    }
}

} // namespace

CFFMpegRunner::CancelCheck CFFMpegRunner::defaultCheckForCancel = [] { return 0; };
CFFMpegRunner::ProgressFunction CFFMpegRunner::defaultProgress = [](double) { return 0; };

double CFFMpegRunner::GetTimeFromTimeString(std::string_view text)
{
    const std::size_t colon = text.find(':');
    if (colon == std::string_view::npos)
        return -1.0;
    if (text.size() < colon + 8)
        throw std::out_of_range("a time text is too short");
    const int hours = NumberOrZero(text.substr(0, colon));
    const int minutes = NumberOrZero(text.substr(colon + 1, 2));
    const int seconds = NumberOrZero(text.substr(colon + 4, 2));
    // Kept as is: two digits, however many there are.
    const int hundredths = NumberOrZero(text.substr(colon + 7, 2));
    return hours * 3600.0 + minutes * 60.0 + seconds + hundredths / 100.0;
}

void CFFMpegRunner::Reset()
{
    output.clear();
    progressTail.clear();
    inputSeen = durationKnown = false;
    exitCode = -1;
    lastError = 0;
    errorMessage.clear();
    outcome = Outcome::notStarted;
    const std::scoped_lock locked(lock.mutex);
    fraction = currentTime = 0;
    totalDuration = -1;
    finished = false;
}

std::string CFFMpegRunner::CommandLine(const std::string& arguments, const CNamedPipeReader* reader) const
{
    std::string line = CConsoleOutputReader::QuoteArgument(ffmpegPath, true) + " -nostdin -hide_banner " + arguments;
    if (reader)
        line += " -progress " + CConsoleOutputReader::QuoteArgument(reader->GetName());
    return line;
}

bool CFFMpegRunner::RunCommand(const std::string& arguments, int timeLimit, const CancelCheck& checkForCancel,
                               bool wantProgress, const ProgressFunction& progress)
{
    if (!HasPath())
        return false;
    Reset();
    std::atomic<bool> progressAsksToEnd = false;
    std::optional<CNamedPipeReader> reader;
    if (wantProgress) {
        try {
            reader.emplace("nv", progressCapacity, [&](CNamedPipeReader& pipe) {
                CalculateProgress(pipe);
                if (progress && progress(GetProgress()) != 0)
                    progressAsksToEnd = true;
            });
        } catch (const std::system_error& failure) {
            lastError = static_cast<u32>(failure.code().value());
            errorMessage = failure.what();
            return false;
        }
    }
    CConsoleOutputReader console;
    CConsoleOutputReader::Settings settings;
    settings.timeLimit = timeLimit;
    settings.feed = inputFeed;
    const bool good = console.Run(
        CommandLine(arguments, reader ? &*reader : nullptr),
        [&](const std::string& line) { TakeConsoleLine(line, wantProgress); },
        [&] { return progressAsksToEnd ? 1
                     : checkForCancel  ? checkForCancel()
                                       : 0; }, settings);
    if (reader)
        reader->Finish(); // with the last block, which tells of the end
    outcome = console.GetOutcome();
    exitCode = console.GetExitCode();
    lastError = console.GetLastError();
    errorMessage = console.GetErrorMessage();
    return good;
}

void CFFMpegRunner::TakeConsoleLine(const std::string& line, bool wantDuration)
{
    static constexpr std::string_view label = "Duration: ";
    output.push_back(line);
    if (!wantDuration || durationKnown)
        return;
    if (line.starts_with("Input #"))
        inputSeen = true;
    const std::size_t at = line.find(label);
    if (!inputSeen || at == std::string::npos)
        return;
    const std::string_view text = std::string_view(line).substr(at + label.size());
    const double seconds = TimeOrUnknown(text.substr(0, text.find(',')));
    durationKnown = seconds >= 0;
    const std::scoped_lock locked(lock.mutex);
    totalDuration = seconds;
}

bool CFFMpegRunner::CalculateProgress(CNamedPipeReader& reader)
{
    const ScopedLock locked(reader);
    std::string bytes = std::move(progressTail);
    progressTail.clear();
    const std::size_t kept = bytes.size();
    bytes.resize(kept + static_cast<std::size_t>(reader.DataInBufferCount()));
    bytes.resize(kept + static_cast<std::size_t>(
                            reader.ReadData(bytes.data() + kept, static_cast<int>(bytes.size() - kept), false)));

    bool any = false;
    std::string_view rest = bytes;
    for (std::size_t end = rest.find('\n'); end != std::string_view::npos; end = rest.find('\n')) {
        any = TakeProgressLine(rest.substr(0, end)) || any;
        rest.remove_prefix(end + 1);
    }
    progressTail = rest.substr(0, kLongestTail);
    return any;
}

bool CFFMpegRunner::TakeProgressLine(std::string_view line)
{
    const std::string_view value = line.substr(std::min(line.size(), line.find('=') + 1));
    const std::scoped_lock locked(lock.mutex);
    if (line.find("out_time=") != std::string_view::npos) {
        // Kept as is: an unreadable time is -1, and the fraction is below 0 until the next block.
        currentTime = TimeOrUnknown(value);
        if (totalDuration > 0)
            fraction = currentTime / totalDuration;
        return true;
    }
    if (line.find("progress=") == std::string_view::npos)
        return false;
    if (value.find("end") != std::string_view::npos) {
        fraction = 1.0;
        finished = true;
    }
    return true;
}

double CFFMpegRunner::GetProgress() const
{
    const std::scoped_lock locked(lock.mutex);
    return fraction;
}

double CFFMpegRunner::GetOutputTime() const
{
    const std::scoped_lock locked(lock.mutex);
    return currentTime;
}

double CFFMpegRunner::GetTotalDuration() const
{
    const std::scoped_lock locked(lock.mutex);
    return totalDuration;
}

bool CFFMpegRunner::IsFinished() const
{
    const std::scoped_lock locked(lock.mutex);
    return finished;
}

} // namespace NV
