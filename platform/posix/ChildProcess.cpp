// Child processes on POSIX: see ChildProcess.h. Each is the leader of a process group of its own, so that what it has
// started can be ended with it, and Ctrl-C at the terminal reaches it through its parent only.
#include "ChildProcess.h"

#include "CommandLine.h"
#include "PipeEnds.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <poll.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <vector>

extern char** environ;

namespace NV {

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kSuggestedBuffer = 10000000;
constexpr int kUsualLargestBuffer = 1048576; // what the system grants without privileges
constexpr int kSignalBase = 128;             // exit codes above it stand for signals, as shells have it
constexpr int kLastWait = 2000;              // for a child that was killed; longer only when the system itself hangs

class PosixChild : public ChildProcess {
public:
    explicit PosixChild(pid_t started)
        : pid(started), handle(static_cast<int>(syscall(SYS_pidfd_open, started, 0))) // -1 on an old system
    {
    }
    ~PosixChild() override
    {
        if (!ended) {
            PosixChild::Kill();
            PosixChild::Wait(kLastWait);
        }
        PosixChild::ExitCode();
    }

    bool Wait(int milliseconds) override
    {
        const auto until = Clock::now() + std::chrono::milliseconds(milliseconds);
        while (!ended) {
            // The entry stays: while it is there, the number of the process group is nobody else's.
            siginfo_t state{};
            const int found = waitid(P_PID, static_cast<id_t>(pid), &state, WEXITED | WNOHANG | WNOWAIT);
            ended = found == 0 ? state.si_pid == pid : errno != EINTR;
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(until - Clock::now()).count();
            if (ended || left <= 0)
                break;
            Pause(static_cast<int>(left));
        }
        return ended;
    }
    bool AskToEnd() override
    {
        if (!reaped)
            kill(-pid, SIGTERM);
        return true;
    }
    void Kill() override
    {
        if (!reaped)
            kill(-pid, SIGKILL);
    }
    int ExitCode() override
    {
        if (ended && !reaped) {
            int status = 0;
            pid_t found = 0;
            do
                found = waitpid(pid, &status, WNOHANG);
            while (found < 0 && errno == EINTR);
            reaped = true;
            if (found == pid)
                code = WIFSIGNALED(status) ? kSignalBase + WTERMSIG(status) : WEXITSTATUS(status);
        }
        return code;
    }

private:
    void Pause(int milliseconds) const
    {
        constexpr int step = 5; // where there is nothing to wait on
        if (!handle) {
            std::this_thread::sleep_for(std::chrono::milliseconds(std::min(milliseconds, step)));
            return;
        }
        pollfd end = {handle.Get(), POLLIN, 0};
        poll(&end, 1, milliseconds);
    }

    pid_t pid;
    OwnedDescriptor handle;
    bool ended = false, reaped = false;
    int code = -1;
};

// A pipe of which one end is to be the child's. Neither end is inherited as it is.
struct Pipe {
    OwnedDescriptor readEnd, writeEnd;
    bool Make(int suggestedBuffer)
    {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) != 0)
            return false;
        readEnd = OwnedDescriptor(ends[0]);
        writeEnd = OwnedDescriptor(ends[1]);
        if (fcntl(ends[0], F_SETPIPE_SZ, suggestedBuffer) < 0)
            fcntl(ends[0], F_SETPIPE_SZ, kUsualLargestBuffer);
        return true;
    }
};

// What posix_spawn is told; its parts are released with it.
class SpawnPlan {
public:
    SpawnPlan()
    {
        posix_spawn_file_actions_init(&actions);
        posix_spawnattr_init(&attributes);
        sigset_t none, all;
        sigemptyset(&none);
        sigfillset(&all);
        posix_spawnattr_setsigmask(&attributes, &none);
        posix_spawnattr_setsigdefault(&attributes, &all); // what this program ignores is the child's own business
        posix_spawnattr_setpgroup(&attributes, 0);
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETPGROUP);
    }
    ~SpawnPlan()
    {
        posix_spawn_file_actions_destroy(&actions);
        posix_spawnattr_destroy(&attributes);
    }
    SpawnPlan(const SpawnPlan&) = delete;
    SpawnPlan& operator=(const SpawnPlan&) = delete;

    // Gives the child its folder and its three streams, and nothing above them, whoever has opened it.
    int Fill(const std::string& folder, int input, int output, int errors)
    {
        int error = folder.empty() ? 0 : posix_spawn_file_actions_addchdir_np(&actions, folder.c_str());
        const int streams[] = {input, output, errors};
        for (int target = 0; target < 3 && error == 0; ++target)
            error = posix_spawn_file_actions_adddup2(&actions, streams[target], target);
        return error != 0 ? error : posix_spawn_file_actions_addclosefrom_np(&actions, 3);
    }
    int Start(const std::string& program, char* const* arguments, pid_t& pid) const
    {
        return posix_spawnp(&pid, program.c_str(), &actions, &attributes, arguments, environ);
    }

private:
    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
};

// Moves an end out of the way of the three numbers that the child's streams will have.
bool MoveAboveStreams(OwnedDescriptor& end)
{
    if (end.Get() < 3)
        end = OwnedDescriptor(fcntl(end.Get(), F_DUPFD_CLOEXEC, 3));
    return static_cast<bool>(end);
}

void StopBlocking(const OwnedDescriptor& end)
{
    fcntl(end.Get(), F_SETFL, fcntl(end.Get(), F_GETFL) | O_NONBLOCK);
}

// Where a program named relative to our folder is when it starts in another one.
std::string ProgramPath(const std::string& program, const std::string& folder)
{
    std::error_code failure;
    if (folder.empty() || program.find('/') == std::string::npos)
        return program;
    const auto absolute = std::filesystem::absolute(program, failure);
    return failure ? program : absolute.string();
}

} // namespace

std::unique_ptr<ChildProcess> StartChild(const std::string& commandLine, const std::string& folder,
                                         ChildStreams& streams, SystemFailure& failure)
{
    std::vector<std::string> arguments = SplitCommandLine(commandLine);
    if (arguments.empty() || commandLine.find('\0') != std::string::npos) {
        failure = DescribeFailure(EINVAL);
        return nullptr;
    }
    const std::string program = ProgramPath(arguments[0], folder);
    std::vector<char*> list;
    for (std::string& argument : arguments)
        // NOLINTNEXTLINE(performance-inefficient-vector-operation): a few
        list.push_back(argument.data());
    list.push_back(nullptr);

    Pipe input, output, errors;
    if (!input.Make(kUsualLargestBuffer) || !output.Make(kSuggestedBuffer) || !errors.Make(kUsualLargestBuffer) ||
        !MoveAboveStreams(input.readEnd) || !MoveAboveStreams(output.writeEnd) || !MoveAboveStreams(errors.writeEnd)) {
        failure = LastSystemFailure();
        return nullptr;
    }
    for (const OwnedDescriptor* end : {&input.writeEnd, &output.readEnd, &errors.readEnd})
        StopBlocking(*end);
    auto sink = std::make_unique<DescriptorSink>(std::move(input.writeEnd));
    auto outputSource = std::make_unique<DescriptorSource>(std::move(output.readEnd));
    auto errorSource = std::make_unique<DescriptorSource>(std::move(errors.readEnd));
    if (!sink->IsReady() || !outputSource->IsReady() || !errorSource->IsReady()) {
        failure = LastSystemFailure();
        return nullptr;
    }

    SpawnPlan plan;
    pid_t pid = 0;
    int error = plan.Fill(folder, input.readEnd.Get(), output.writeEnd.Get(), errors.writeEnd.Get());
    if (error == 0)
        error = plan.Start(program, list.data(), pid);
    if (error != 0) {
        failure = DescribeFailure(error);
        return nullptr;
    }
    auto child = std::make_unique<PosixChild>(pid);
    streams = {std::move(sink), std::move(outputSource), std::move(errorSource)};
    return child;
}

} // namespace NV
