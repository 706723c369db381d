// Plays a console program for tests: does what its arguments say, one after the other. Arguments that ffmpeg would be
// given are understood as far as tests need them.
//
//   echo ARG...      print each further argument in < > and end
//   out|err TEXT     print a line              lines N         print N numbered lines on both streams, in turns
//   raw TEXT         print without a line end  bytes N         print N letters without a line end
//   sleep MS | hang                            stubborn        no longer end when asked to
//   close-out | close-err                      exit N | crash
//   read             read the input to its end and tell its length and sum
//   await-q          read the input until a "q" comes, then exit with 7
//   beat FILE        write to a file every few milliseconds, without end
//   leave ARG... ;   start another of this kind that has the same output, and go on
//   blocks N MS      N blocks of progress, a second of output each, MS milliseconds apart, to where -progress says
//   report TEXT      bytes of progress, with | for line ends
#include "platform/ProcessProbe.h"

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

using Arguments = std::vector<std::string>;

void Sleep(int milliseconds)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

void Print(std::FILE* to, const std::string& text)
{
    std::fwrite(text.data(), 1, text.size(), to);
    std::fflush(to);
}

void PrintLines(int count)
{
    std::setvbuf(stderr, nullptr, _IOFBF, 4096);
    for (int i = 1; i <= count; ++i) {
        std::fprintf(stdout, "out %d\n", i);
        std::fprintf(stderr, "err %d\n", i);
    }
    std::fflush(stdout);
    std::fflush(stderr);
}

void ReadInput()
{
    unsigned long long count = 0, sum = 0;
    for (int byte = std::getchar(); byte != EOF; byte = std::getchar()) {
        ++count;
        sum += static_cast<unsigned>(byte);
    }
    Print(stdout, "read " + std::to_string(count) + " bytes, sum " + std::to_string(sum) + "\n");
}

void AwaitQ()
{
    for (int byte = std::getchar(); byte != EOF; byte = std::getchar())
        if (byte == 'q')
            std::exit(7);
}

[[noreturn]] void Beat(const std::string& path)
{
    for (;;) {
        if (std::FILE* file = std::fopen(path.c_str(), "ab")) {
            std::fputc('.', file);
            std::fclose(file);
        }
        Sleep(5);
    }
}

class Tool {
public:
    explicit Tool(Arguments all) : arguments(std::move(all))
    {
        for (std::size_t i = 1; i + 1 < arguments.size(); ++i)
            if (arguments[i] == "-progress")
                report.reset(std::fopen(arguments[i + 1].c_str(), "wb"));
    }

    int Run()
    {
        while (at + 1 < arguments.size()) {
            const std::string verb = arguments[++at];
            if (verb == "exit")
                return Number();
            if (verb == "echo") {
                for (++at; at < arguments.size(); ++at)
                    Print(stdout, "<" + arguments[at] + ">\n");
                return 0;
            }
            Do(verb);
        }
        return 0;
    }

private:
    std::string Text() { return ++at < arguments.size() ? arguments[at] : ""; }
    int Number() { return std::atoi(Text().c_str()); }

    void Do(const std::string& verb)
    {
        if (verb == "out")
            Print(stdout, Text() + "\n");
        else if (verb == "err")
            Print(stderr, Text() + "\n");
        else if (verb == "raw")
            Print(stdout, Text());
        else if (verb == "lines")
            PrintLines(Number());
        else if (verb == "bytes")
            Print(stdout, std::string(static_cast<std::size_t>(Number()), 'x'));
        else if (verb == "sleep")
            Sleep(Number());
        else if (verb == "hang")
            Sleep(1000000);
        else if (verb == "stubborn")
            std::signal(SIGTERM, SIG_IGN);
        else if (verb == "close-out")
            std::fclose(stdout);
        else if (verb == "close-err")
            std::fclose(stderr);
        else if (verb == "crash")
            std::abort();
        else
            DoMore(verb);
    }
    void DoMore(const std::string& verb)
    {
        if (verb == "read")
            ReadInput();
        else if (verb == "await-q")
            AwaitQ();
        else if (verb == "beat")
            Beat(Text());
        else if (verb == "leave")
            Leave();
        else if (verb == "blocks")
            Blocks();
        else if (verb == "report")
            Report(Text());
    }

    void Leave()
    {
        Arguments words;
        for (std::string word = Text(); !word.empty() && word != ";"; word = Text())
            words.push_back(word);
        LeaveBehind(arguments[0], words);
    }
    void Blocks()
    {
        const int count = Number(), pause = Number();
        for (int i = 1; i <= count; ++i) {
            char time[32];
            std::snprintf(time, sizeof(time), "%02d:%02d:%02d.000000", i / 3600, i / 60 % 60, i % 60);
            Report("frame=" + std::to_string(i) + "|out_time=" + time +
                   (i == count ? "|progress=end|" : "|progress=continue|"));
            Sleep(pause);
        }
    }
    void Report(std::string text)
    {
        for (char& character : text)
            if (character == '|')
                character = '\n';
        if (report)
            Print(report.get(), text);
    }

    struct Closer {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    Arguments arguments;
    std::size_t at = 0;
    std::unique_ptr<std::FILE, Closer> report;
};

} // namespace

int main(int count, char** list)
{
    return Tool(Arguments(list, list + count)).Run();
}
