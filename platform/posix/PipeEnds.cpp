// Reading and writing pipes with a way out of every wait: see PipeEnds.h.
#include "PipeEnds.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <ctime>
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <system_error>

namespace NV {

namespace {

// Keeps this thread from being ended by SIGPIPE, which a pipe without a reader raises. What the program has chosen to
// do on that signal is not touched.
class NoBrokenPipeSignal {
public:
    NoBrokenPipeSignal()
    {
        sigset_t pending;
        sigemptyset(&brokenPipe);
        sigaddset(&brokenPipe, SIGPIPE);
        sigpending(&pending);
        if (sigismember(&pending, SIGPIPE) == 0)
            armed = pthread_sigmask(SIG_BLOCK, &brokenPipe, &before) == 0;
    }
    ~NoBrokenPipeSignal()
    {
        if (!armed)
            return;
        const timespec atOnce{};
        while (sigtimedwait(&brokenPipe, nullptr, &atOnce) < 0 && errno == EINTR) {
        }
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
    }
    NoBrokenPipeSignal(const NoBrokenPipeSignal&) = delete;
    NoBrokenPipeSignal& operator=(const NoBrokenPipeSignal&) = delete;

private:
    sigset_t brokenPipe{}, before{};
    bool armed = false;
};

// Waits for one of two descriptors; true when the second one, the signal to stop, has come.
bool AwaitEither(int descriptor, short events, int stop)
{
    pollfd both[2] = {{descriptor, events, 0}, {stop, POLLIN, 0}};
    while (poll(both, 2, -1) < 0 && errno == EINTR) {
    }
    return both[1].revents != 0;
}

} // namespace

SystemFailure DescribeFailure(i32 code)
{
    return {code, std::generic_category().message(code)};
}

SystemFailure LastSystemFailure()
{
    return DescribeFailure(errno);
}

StopSignal::StopSignal() : event(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

void StopSignal::Send()
{
    eventfd_write(event.Get(), 1); // fails only when it was sent an astronomical number of times already
}

int DescriptorSource::Read(void* buffer, int count)
{
    while (rest < 0) {
        if (AwaitEither(end.Get(), POLLIN, stop.Descriptor())) {
            int waiting = 0;
            rest = ioctl(end.Get(), FIONREAD, &waiting) == 0 ? waiting : 0;
            break;
        }
        const ssize_t got = read(end.Get(), buffer, static_cast<std::size_t>(count));
        if (got >= 0 || (errno != EINTR && errno != EAGAIN))
            return static_cast<int>(std::max<ssize_t>(got, 0));
    }
    return TakeRest(buffer, std::min(count, rest));
}

int DescriptorSource::TakeRest(void* buffer, int count)
{
    if (count == 0)
        return 0;
    ssize_t got = 0;
    do
        got = read(end.Get(), buffer, static_cast<std::size_t>(count));
    while (got < 0 && errno == EINTR);
    rest = got > 0 ? rest - static_cast<int>(got) : 0;
    return static_cast<int>(std::max<ssize_t>(got, 0));
}

/// False when the writing is to stop.
bool DescriptorSink::AwaitRoom()
{
    return !AwaitEither(end.Get(), POLLOUT, stop.Descriptor());
}

bool DescriptorSink::Write(const void* bytes, std::size_t count)
{
    const NoBrokenPipeSignal quiet;
    const auto* next = static_cast<const char*>(bytes);
    while (count > 0) {
        if (!AwaitRoom())
            return false;
        const ssize_t put = write(end.Get(), next, count);
        if (put < 0 && errno != EINTR && errno != EAGAIN)
            return false;
        if (put > 0) {
            next += put;
            count -= static_cast<std::size_t>(put);
        }
    }
    return true;
}

} // namespace NV
