// Reading and writing pipes with a way out of every wait: see PipeEnds.h. Anonymous pipes know no waiting for two
// things at once, so a reader asks what is there before it takes it, and a writer's call is cancelled by whoever stops
// it.
#include "PipeEnds.h"

#include <algorithm>

namespace NV {

namespace {

constexpr DWORD kLongestPause = 10; // milliseconds between two questions whether there is something to read
constexpr DWORD kPiece = 1048576;   // bytes of one write

} // namespace

SystemFailure DescribeFailure(i32 code)
{
    char text[512] = "";
    DWORD length = FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                                  static_cast<DWORD>(code), 0, text, sizeof(text), nullptr);
    while (length > 0 && (text[length - 1] == '\r' || text[length - 1] == '\n' || text[length - 1] == ' '))
        --length;
    return {code, std::string(text, length)};
}

SystemFailure LastSystemFailure()
{
    return DescribeFailure(static_cast<i32>(::GetLastError()));
}

int HandleSource::Read(void* buffer, int count)
{
    for (DWORD pause = 0;; pause = std::min(pause + 1, kLongestPause)) {
        const bool stop = WaitForSingleObject(stopped.Get(), pause) == WAIT_OBJECT_0; // before the question
        DWORD waiting = 0, got = 0;
        if (!PeekNamedPipe(end.Get(), nullptr, 0, nullptr, &waiting, nullptr))
            return 0;
        if (stop && rest < 0)
            rest = static_cast<int>(waiting);
        int taken = std::min<int>(count, static_cast<int>(waiting));
        if (rest >= 0)
            taken = std::min(taken, rest);
        if (taken > 0) {
            if (!ReadFile(end.Get(), buffer, static_cast<DWORD>(taken), &got, nullptr))
                return 0;
            if (rest >= 0)
                rest -= static_cast<int>(got);
            return static_cast<int>(got);
        }
        if (stop)
            return 0;
    }
}

void HandleSource::Stop()
{
    SetEvent(stopped.Get());
}

bool HandleSink::Write(const void* bytes, std::size_t count)
{
    {
        const std::scoped_lock locked(mutex);
        writer =
            OwnedHandle(OpenThread(THREAD_TERMINATE, FALSE, GetCurrentThreadId())); // the right to cancel its calls
    }
    const auto* next = static_cast<const char*>(bytes);
    bool good = true;
    while (good && count > 0) {
        const DWORD piece = static_cast<DWORD>(std::min<std::size_t>(count, kPiece));
        DWORD put = 0;
        good = !stopping && WriteFile(end.Get(), next, piece, &put, nullptr) && put > 0;
        next += put;
        count -= put;
    }
    const std::scoped_lock locked(mutex);
    writer.Close();
    return good;
}

void HandleSink::Stop()
{
    stopping = true;
    // The writer may be on its way into a call that has not begun: asked until it is out.
    for (;;) {
        {
            const std::scoped_lock locked(mutex);
            if (!writer)
                return;
            CancelSynchronousIo(writer.Get());
        }
        Sleep(1);
    }
}

} // namespace NV
