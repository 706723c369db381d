// Runs the external ffmpeg program and tells how far it has got.
//
// Units: seconds of output, milliseconds for the time limit; progress is a fraction from 0 to 1. A plain value between
// runs; one run at a time.
#pragma once

#include "ConsoleOutputReader.h"
#include "NVExport.h"
#include "NVTypes.h"

#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace NV {

class CNamedPipeReader;

class NVLIB_API CFFMpegRunner {
public:
    /// Anything but 0 asks the run to end. Called on the caller's thread, a few dozen times a second.
    using CancelCheck = std::function<int()>;
    /// Takes the fraction after each piece of ffmpeg's report; anything but 0 asks the run to end. Called on a reader
    /// thread; must not block. What it throws is dropped.
    using ProgressFunction = std::function<int(double fraction)>;

    /// Used when the caller passes none; they let every run go on. Empty functions count as none.
    static CancelCheck defaultCheckForCancel;
    static ProgressFunction defaultProgress;

    /// Bytes of ffmpeg's report that may wait for us.
    static constexpr int progressCapacity = 1000000;

    CFFMpegRunner() = default;
    /// `path` is that of the ffmpeg program.
    explicit CFFMpegRunner(std::string path) : ffmpegPath(std::move(path)) {}

    void SetPath(std::string path) { ffmpegPath = std::move(path); }
    const std::string& GetPath() const { return ffmpegPath; }
    bool HasPath() const { return !ffmpegPath.empty(); }

    /// What the following runs feed to ffmpeg's standard input, for arguments with "-i pipe:0". None: nothing.
    void SetInputFeed(CConsoleOutputReader::InputFeed feed) { inputFeed = std::move(feed); }

    /// Runs ffmpeg with these arguments (`CConsoleOutputReader::QuoteArgument` makes one of any text) between our own.
    /// `timeLimit` is in milliseconds, 0 for none. Without `wantProgress` no report is asked for and `progress` is not
    /// called. False at once without a path; else true when ffmpeg ended by itself with exit code 0.
    bool RunCommand(const std::string& arguments, int timeLimit = 0,
                    const CancelCheck& checkForCancel = defaultCheckForCancel, bool wantProgress = true,
                    const ProgressFunction& progress = defaultProgress);

    /// Takes what the reader holds of ffmpeg's report and brings progress and time up to date. A time that cannot be
    /// read counts as -1 seconds until the next one. True when there was at least one line of progress.
    bool CalculateProgress(CNamedPipeReader& reader);

    /// Seconds for hours:minutes:seconds.hundredths; -1 without a colon. Digits after the hundredths are not looked at.
    /// Throws std::out_of_range for a text too short for its fields; of the last one a single digit is enough.
    static double GetTimeFromTimeString(std::string_view text);

    // ---- The run, or how far it has got when a callback asks ----

    /// What ffmpeg has printed on its console, line by line. Only between runs.
    const std::vector<std::string>& GetOutput() const { return output; }
    /// 0 to 1; 0 while the duration is unknown, exactly 1 from ffmpeg's own word that it has finished.
    double GetProgress() const;
    /// Seconds of output that ffmpeg has written.
    double GetOutputTime() const;
    /// Seconds that ffmpeg has told of its first input with a length; below 0 while unknown.
    double GetTotalDuration() const;
    bool IsFinished() const;

    using Outcome = CConsoleOutputReader::Outcome;
    Outcome GetOutcome() const { return outcome; }
    /// Of the last run; see CConsoleOutputReader. 0 after a start that succeeded.
    int GetExitCode() const { return exitCode; }
    u32 GetLastError() const { return lastError; }
    const std::string& GetErrorMessage() const { return errorMessage; }

private:
    // A lock that is not part of the value: each copy has its own.
    struct ValueLock {
        ValueLock() = default;
        ValueLock(const ValueLock&) {}
        ValueLock& operator=(const ValueLock&) { return *this; }
        std::mutex mutex;
    };

    void Reset();
    void TakeConsoleLine(const std::string& line, bool wantDuration);
    bool TakeProgressLine(std::string_view line);
    std::string CommandLine(const std::string& arguments, const CNamedPipeReader* reader) const;

    std::string ffmpegPath;
    std::vector<std::string> output;
    double fraction = 0;                           // the lock guards this
    double currentTime = 0;                        // and this
    double totalDuration = -1;                     // and this
    bool finished = false;                         // and this
    bool inputSeen = false, durationKnown = false; // the line handler's own
    std::string progressTail;                      // after the last line break of the report
    mutable ValueLock lock;
    CConsoleOutputReader::InputFeed inputFeed;

    Outcome outcome = Outcome::notStarted;
    int exitCode = -1;
    u32 lastError = 0;
    std::string errorMessage;
};

} // namespace NV
