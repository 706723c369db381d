// Runs a console program without a window and hands over what it prints, line by line, while it runs.
//
// Units: milliseconds. One run at a time for each object; `Run` works on the caller's thread and on threads of its own,
// all of which have ended when it returns.
#pragma once

#include "NVExport.h"
#include "NVTypes.h"

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

class NVLIB_API CConsoleOutputReader {
public:
    /// Takes one line without its end. Called on reader threads, but never twice at the same time. A line ends with a
    /// line feed, a carriage return (a display that is drawn over), or both; a last one without an end counts too, and
    /// of a line longer than `maxLine` bytes each such piece. What the handler throws is dropped, and the next line
    /// comes as usual.
    using LineHandler = std::function<void(const std::string& line)>;
    /// Asked a few dozen times a second on the caller's thread; anything but 0 ends the program. What it throws comes
    /// out of `Run`, after the program was ended.
    using CancelCheck = std::function<int()>;

    /// The program's standard input.
    class NVLIB_API Input {
    public:
        virtual ~Input() = default;
        /// Waits until the program's pipe has taken all bytes. False when the program reads no more or is being ended:
        /// then the feed returns.
        virtual bool Write(const void* bytes, std::size_t count) = 0;
    };
    /// Writes the program's input, on a thread of its own; when it returns (or throws, which is dropped) the input is
    /// closed.
    using InputFeed = std::function<void(Input& input)>;

    struct Settings {
        std::string folder; // where the program starts; empty: where this one is
        int timeLimit = 0;  // after so many milliseconds the program is ended; 0 or less: never
        InputFeed feed;     // none: the input stays open and empty, until the program is to end and a "q" is written
    };

    enum class Outcome : u8 {
        notStarted, // see GetLastError
        ended,      // by itself
        cancelled,  // by the cancel check
        timedOut
    };

    /// Longest line in bytes.
    static constexpr std::size_t maxLine = 1048576;

    /// Runs a command line to its end: the program's path, in double quotes when it has blanks, and its arguments, in
    /// the form that Windows programs take them on every system (`QuoteArgument` makes it). A program that is to end is
    /// asked first ("q", then the system's own request where there is one) and killed with all that it has started when
    /// it has not ended 0.55 s later. A program that ends by itself may leave others behind that hold its output open:
    /// they get a second, then what is in the pipes still counts and later lines do not. True when the program ended by
    /// itself with exit code 0.
    bool Run(const std::string& commandLine, const LineHandler& handler, const CancelCheck& checkForCancel,
             const Settings& settings);
    bool Run(const std::string& commandLine, const LineHandler& handler, const CancelCheck& checkForCancel = {})
    {
        return Run(commandLine, handler, checkForCancel, Settings());
    }

    Outcome GetOutcome() const { return outcome; }
    /// Of the last run; 128 and more when a signal ended it (where there are signals), -1 when there is none to know.
    int GetExitCode() const { return exitCode; }
    /// Why the program did not start: the system's number (0 after a start) and the system's words.
    u32 GetLastError() const { return lastError; }
    const std::string& GetErrorMessage() const { return errorMessage; }

    /// The text as one argument of a command line, whatever is in it; left as it is when it needs no quotes, unless
    /// `always`.
    static std::string QuoteArgument(std::string_view text, bool always = false);

private:
    class Session;

    Outcome outcome = Outcome::notStarted;
    int exitCode = -1;
    u32 lastError = 0;
    std::string errorMessage;
};
