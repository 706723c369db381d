// Running console programs: see ConsoleOutputReader.h.
#include "ConsoleOutputReader.h"

#include "ChildProcess.h"
#include "LineSplitter.h"
#include "Worker.h"

#include <array>
#include <chrono>
#include <memory>
#include <mutex>
#include <system_error>

using NV::ChildProcess;
using NV::ChildStreams;
using NV::PipeSink;
using NV::PipeSource;
using NV::Worker;

namespace {

constexpr int kPollTime = 20;     // milliseconds between two cancel checks
constexpr int kAnswerTime = 250;  // for the "q"
constexpr int kRequestTime = 300; // for the system's own request to end
constexpr int kKillTime = 2000;   // only a system that hangs itself takes that long
constexpr std::chrono::milliseconds kReaderTime{1000};
constexpr int kPiece = 65536; // bytes read at a time

class ChildInput final : public CConsoleOutputReader::Input {
public:
    explicit ChildInput(PipeSink& pipe) : sink(pipe) {}
    bool Write(const void* bytes, std::size_t count) override { return sink.Write(bytes, count); }

private:
    PipeSink& sink;
};

} // namespace

// One child with the threads around it. Goes only when the child has ended and the threads have.
class CConsoleOutputReader::Session {
public:
    Session(std::unique_ptr<ChildProcess> started, ChildStreams&& streams, const LineHandler& lineHandler)
        : child(std::move(started)), sink(std::move(streams.input)), output(std::move(streams.output)),
          errors(std::move(streams.errors)), handler(lineHandler)
    {
    }
    ~Session()
    {
        if (!child->Wait(0))
            EndChild();
        Finish();
    }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    void StartThreads(const InputFeed& feed)
    {
        readers[0] = Worker([this] { ReadLines(*output); });
        readers[1] = Worker([this] { ReadLines(*errors); });
        if (feed) {
            isFed = true;
            feeder = Worker([this, &feed] {
                ChildInput input(*sink);
                NV::CallGuarded([&] { feed(input); });
                const std::scoped_lock locked(sinkMutex);
                sink.reset(); // the child sees the end
            });
        }
    }

    bool Wait(int time) { return child->Wait(time); }

    void EndChild()
    {
        if (isFed) {
            StopInput();
        } else if (sink) {
            sink->Write("q\n", 2);
            sink.reset();
        }
        bool ended = child->Wait(kAnswerTime);
        if (!ended && child->AskToEnd())
            ended = child->Wait(kRequestTime);
        child->Kill(); // also what it has left behind
        if (!ended)
            child->Wait(kKillTime);
    }

    // After the child's end. Returns its exit code.
    int Finish()
    {
        StopInput();
        const auto until = std::chrono::steady_clock::now() + kReaderTime;
        for (Worker& reader : readers)
            reader.WaitFor(duration_cast<std::chrono::milliseconds>(until - std::chrono::steady_clock::now()));
        output->Stop();
        errors->Stop();
        for (Worker& reader : readers)
            reader.Join();
        feeder.Join();
        return child->ExitCode();
    }

private:
    void StopInput()
    {
        const std::scoped_lock locked(sinkMutex);
        if (sink)
            sink->Stop();
    }

    void ReadLines(PipeSource& pipe)
    {
        NV::LineSplitter splitter(maxLine);
        std::array<char, kPiece> bytes;
        const auto emit = [this](const std::string& line) {
            const std::scoped_lock locked(handlerMutex);
            if (handler)
                NV::CallGuarded([&] { handler(line); });
        };
        while (const int count = pipe.Read(bytes.data(), kPiece))
            NV::CallGuarded([&] { splitter.Add({bytes.data(), static_cast<std::size_t>(count)}, emit); });
        splitter.Finish(emit);
    }

    std::unique_ptr<ChildProcess> child;
    std::mutex sinkMutex; // guards the pointer: the feeder drops it at its end
    std::unique_ptr<PipeSink> sink;
    std::unique_ptr<PipeSource> output, errors;
    const LineHandler& handler;
    std::mutex handlerMutex; // one line at a time
    bool isFed = false;
    std::array<Worker, 2> readers; // after what they use
    Worker feeder;
};

bool CConsoleOutputReader::Run(const std::string& commandLine, const LineHandler& handler,
                               const CancelCheck& checkForCancel, const Settings& settings)
{
    using Clock = std::chrono::steady_clock;
    outcome = Outcome::notStarted;
    exitCode = -1;
    lastError = 0;
    errorMessage.clear();

    NV::SystemFailure failure;
    ChildStreams streams;
    auto child = NV::StartChild(commandLine, settings.folder, streams, failure);
    if (!child) {
        lastError = static_cast<u32>(failure.code);
        errorMessage = failure.message;
        return false;
    }
    const auto start = Clock::now();
    Session session(std::move(child), std::move(streams), handler);
    try {
        session.StartThreads(settings.feed);
    } catch (const std::system_error& noThread) {
        lastError = static_cast<u32>(noThread.code().value());
        errorMessage = noThread.what();
        return false;
    }
    outcome = Outcome::ended;
    while (!session.Wait(kPollTime)) {
        if (checkForCancel && checkForCancel() != 0)
            outcome = Outcome::cancelled;
        else if (settings.timeLimit > 0 && Clock::now() - start >= std::chrono::milliseconds(settings.timeLimit))
            outcome = Outcome::timedOut;
        if (outcome != Outcome::ended) {
            session.EndChild();
            break;
        }
    }
    exitCode = session.Finish();
    return outcome == Outcome::ended && exitCode == 0;
}

std::string CConsoleOutputReader::QuoteArgument(std::string_view text, bool always)
{
    if (!always && !text.empty() && text.find_first_of(" \t\r\n\v\"") == std::string_view::npos)
        return std::string(text);
    std::string quoted = "\"";
    std::size_t backslashes = 0;
    for (const char character : text) {
        if (character == '"')
            quoted.append(backslashes + 1, '\\'); // those that are there once more, and one for the quote
        backslashes = character == '\\' ? backslashes + 1 : 0;
        quoted += character;
    }
    quoted.append(backslashes, '\\');
    return quoted + '"';
}
