// Child processes on Win32: see ChildProcess.h. Each runs in a job of its own, so that what it has started can be ended
// with it.
#include "ChildProcess.h"

#include "PipeEnds.h"

#include <algorithm>
#include <mutex>
#include <vector>

namespace NV {

namespace {

constexpr DWORD kOutputBuffer = 10000000; // suggested to the system; 0 is its own choice
constexpr DWORD kInputBuffer = 1048576;
constexpr std::size_t kCommandLine = 40000;
constexpr std::size_t kLongestCommandLine = 32766; // what the system takes, its closing zero left out
constexpr DWORD kKilled = 1;                       // the exit code of a child that was ended
constexpr int kLastWait = 2000;

class Win32Child : public ChildProcess {
public:
    explicit Win32Child(OwnedHandle started) : process(std::move(started)), job(CreateJobObjectA(nullptr, nullptr))
    {
        // Best effort: some systems do not let a process be in two jobs, and ours may be in one.
        if (job && !AssignProcessToJobObject(job.Get(), process.Get()))
            job.Close();
    }
    ~Win32Child() override
    {
        if (!Wait(0)) {
            Kill();
            Wait(kLastWait);
        }
    }

    bool Wait(int milliseconds) override
    {
        return WaitForSingleObject(process.Get(), static_cast<DWORD>(milliseconds)) == WAIT_OBJECT_0;
    }
    bool AskToEnd() override { return false; } // a console program without a console of its own cannot be asked
    void Kill() override
    {
        if (job)
            TerminateJobObject(job.Get(), kKilled);
        TerminateProcess(process.Get(), kKilled);
    }
    int ExitCode() override
    {
        DWORD code = 0;
        const bool known = GetExitCodeProcess(process.Get(), &code) && Wait(0);
        job.Close();
        return known ? static_cast<int>(code) : -1;
    }

private:
    OwnedHandle process, job;
};

// A pipe of which the child inherits one end.
struct Pipe {
    OwnedHandle readEnd, writeEnd;
    bool Make(DWORD suggestedBuffer)
    {
        SECURITY_ATTRIBUTES inheritable = {sizeof(inheritable), nullptr, TRUE};
        HANDLE from = nullptr, to = nullptr;
        if (!CreatePipe(&from, &to, &inheritable, suggestedBuffer))
            return false;
        readEnd = OwnedHandle(from);
        writeEnd = OwnedHandle(to);
        return true;
    }
};

bool KeepFromChild(const OwnedHandle& end)
{
    return SetHandleInformation(end.Get(), HANDLE_FLAG_INHERIT, 0) != FALSE;
}

} // namespace

std::unique_ptr<ChildProcess> StartChild(const std::string& commandLine, const std::string& folder,
                                         ChildStreams& streams, SystemFailure& failure)
{
    if (commandLine.size() > kLongestCommandLine) {
        failure = DescribeFailure(ERROR_FILENAME_EXCED_RANGE);
        return nullptr;
    }
    if (commandLine.empty() || commandLine.find('\0') != std::string::npos) {
        failure = DescribeFailure(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    std::vector<char> writable(kCommandLine);
    std::copy(commandLine.begin(), commandLine.end(), writable.begin());

    // A child inherits every handle that may be inherited: while there are such, no other child of ours is started, or
    // it would hold this one's pipes open.
    static std::mutex oneAtATime;
    const std::scoped_lock locked(oneAtATime);
    Pipe input, output, errors;
    if (!input.Make(kInputBuffer) || !output.Make(kOutputBuffer) || !errors.Make(0) || !KeepFromChild(input.writeEnd) ||
        !KeepFromChild(output.readEnd) || !KeepFromChild(errors.readEnd)) {
        failure = LastSystemFailure();
        return nullptr;
    }
    STARTUPINFOA start{};
    start.cb = sizeof(start);
    start.dwFlags = STARTF_USESTDHANDLES | STARTF_USESHOWWINDOW;
    start.wShowWindow = SW_HIDE;
    start.hStdInput = input.readEnd.Get();
    start.hStdOutput = output.writeEnd.Get();
    start.hStdError = errors.writeEnd.Get();
    PROCESS_INFORMATION started{};
    if (!CreateProcessA(nullptr, writable.data(), nullptr, nullptr, TRUE, 0, nullptr,
                        folder.empty() ? nullptr : folder.c_str(), &start, &started)) {
        failure = LastSystemFailure();
        return nullptr;
    }
    const OwnedHandle mainThread(started.hThread);
    auto child = std::make_unique<Win32Child>(OwnedHandle(started.hProcess));
    auto outputSource = std::make_unique<HandleSource>(std::move(output.readEnd));
    auto errorSource = std::make_unique<HandleSource>(std::move(errors.readEnd));
    if (!outputSource->IsReady() || !errorSource->IsReady()) {
        failure = LastSystemFailure();
        return nullptr;
    }
    streams = {std::make_unique<HandleSink>(std::move(input.writeEnd)), std::move(outputSource),
               std::move(errorSource)};
    return child;
}

} // namespace NV
