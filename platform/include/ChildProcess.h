// Console programs as child processes. Any thread may start one; a child belongs to one thread at a time. Times are
// milliseconds.
#pragma once

#include "NVTypes.h"
#include "Pipe.h"

#include <memory>
#include <string>

namespace NV {

/// What the parent holds of a child's standard streams. Closing the input tells the child that nothing more comes.
struct ChildStreams {
    std::unique_ptr<PipeSink> input;
    std::unique_ptr<PipeSource> output, errors;
};

/// A running program and the programs that it has started in turn.
class ChildProcess {
public:
    ChildProcess() = default;
    /// Ends the child if it is still running.
    virtual ~ChildProcess() = default;
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    /// True when the child has ended, at once or within the time.
    virtual bool Wait(int milliseconds) = 0;
    /// Asks the child to end by itself. False where the system knows no such request.
    virtual bool AskToEnd() = 0;
    /// Ends the child and what it has started and left behind. Also after the child has ended.
    virtual void Kill() = 0;
    /// After `Wait` gave true. 128 and more for a child that a signal has ended (where there are signals), -1 when the
    /// system cannot tell any more. Ends the child's entry in the system: `Kill` then does nothing.
    virtual int ExitCode() = 0;
};

/// Starts the program of a command line: its path, in double quotes if it has blanks, then its arguments, parted by
/// blanks. Quotes and backslashes mean what they mean to a C program on Windows, on every system.
/// Without a slash the program is looked for where the system looks for programs. `folder` is where it starts,
/// empty for the present one. The child inherits its three standard streams and nothing else that is ours. Null, and
/// the failure, when it does not start.
std::unique_ptr<ChildProcess> StartChild(const std::string& commandLine, const std::string& folder,
                                         ChildStreams& streams, SystemFailure& failure);

} // namespace NV
