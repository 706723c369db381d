// Preloaded into a program (LD_PRELOAD), runs its main() many times over without starting it many times over: damage.py
// --full has hundreds of thousands of runs to make, and a build with sanitisers takes a tenth of a second to start.
//
// The program is loaded once and stops before main(). A child is forked from there. It takes requests from standard
// input: for each it enters a folder, calls main() with these arguments, and answers on standard output. After as many
// as the request allows it ends, and another is forked. A child that ends otherwise is answered for. Linux, one thread.
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <vector>

// Where the program is built with the leak check.
extern "C" __attribute__((weak)) void __lsan_do_leak_check();

namespace {

using Main = int (*)(int, char**, char**);

// What stands before each request: that many bytes follow, each text with a zero behind it: folder, file for standard
// output, file for standard error, arguments. A child takes so many requests, and so much memory if that is not 0; each
// has so many seconds.
struct Request {
    uint32_t bytes, seconds, requests, megabytes;
};
struct Answer {
    int32_t status;                   // as wait() has it
    uint32_t microseconds, kilobytes; // the most that this child has held so far
};

constexpr int kGoesOn = 77;                    // how a child ends that makes room for another
constexpr int kRequests = 100, kAnswers = 101; // descriptors, out of the way of those of main()
Main programMain;

bool ReadAll(void* to, size_t size)
{
    for (char* at = static_cast<char*>(to); size > 0;) {
        const ssize_t got = read(kRequests, at, size);
        if (got <= 0)
            return false;
        at += got;
        size -= static_cast<size_t>(got);
    }
    return true;
}

void Redirect(const char* path, int to)
{
    const int file = open(path, O_WRONLY | O_CREAT | O_TRUNC, 0600);
    if (file < 0 || dup2(file, to) < 0)
        _exit(125);
    close(file);
}

int Run(char* program, std::vector<char>& text, unsigned seconds, char** environment)
{
    std::vector<char*> words;
    for (size_t at = 0; at < text.size(); at += std::strlen(&text[at]) + 1)
        words.push_back(&text[at]);
    if (words.size() < 3 || chdir(words[0]) != 0)
        _exit(125);
    Redirect(words[1], STDOUT_FILENO);
    Redirect(words[2], STDERR_FILENO);
    std::vector<char*> arguments(words.begin() + 2, words.end());
    arguments[0] = program;
    arguments.push_back(nullptr);
    alarm(seconds); // ends it with a signal
    const int code = programMain(static_cast<int>(arguments.size()) - 1, arguments.data(), environment);
    std::fflush(stdout);
    alarm(0);
    return code;
}

double Now()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

[[noreturn]] void Work(char* program, char** environment)
{
    Request request{};
    for (uint32_t served = 1; ReadAll(&request, sizeof(request)); ++served) {
        std::vector<char> text(request.bytes);
        if (!ReadAll(text.data(), text.size()) || text.empty() || text.back() != '\0')
            _exit(125);
        if (const rlim_t most = rlim_t{request.megabytes} << 20; most != 0) {
            const rlimit limit{most, most};
            setrlimit(RLIMIT_AS, &limit);
        }
        Answer answer{};
        const double start = Now();
        answer.status = W_EXITCODE(Run(program, text, request.seconds, environment), 0);
        answer.microseconds = static_cast<uint32_t>((Now() - start) * 1e6);
        const bool last = served >= request.requests;
        if (last && __lsan_do_leak_check)
            __lsan_do_leak_check(); // ends the program if there is one
        rusage used{};
        getrusage(RUSAGE_SELF, &used);
        answer.kilobytes = static_cast<uint32_t>(used.ru_maxrss);
        if (write(kAnswers, &answer, sizeof(answer)) != sizeof(answer))
            _exit(125);
        if (last)
            _exit(kGoesOn);
    }
    _exit(0);
}

int Serve(int, char** arguments, char** environment)
{
    const int nothing = open("/dev/null", O_RDWR);
    if (dup2(STDIN_FILENO, kRequests) < 0 || dup2(STDOUT_FILENO, kAnswers) < 0 || dup2(nothing, STDIN_FILENO) < 0 ||
        dup2(nothing, STDOUT_FILENO) < 0)
        return 125;
    for (;;) {
        const pid_t child = fork();
        if (child == 0)
            Work(arguments[0], environment);
        Answer answer{};
        rusage used{};
        if (child < 0 || wait4(child, &answer.status, 0, &used) != child)
            return 125;
        if (answer.status == 0)
            return 0;
        if (answer.status == W_EXITCODE(kGoesOn, 0))
            continue;
        answer.kilobytes = static_cast<uint32_t>(used.ru_maxrss);
        if (write(kAnswers, &answer, sizeof(answer)) != sizeof(answer))
            return 125;
    }
}

} // namespace

// The C library's own way into a program.
extern "C" __attribute__((visibility("default"))) int __libc_start_main(Main main, int count, char** arguments,
                                                                        void (*begin)(), void (*end)(),
                                                                        void (*loaderEnd)(), void* stack)
{
    using Start = int (*)(Main, int, char**, void (*)(), void (*)(), void (*)(), void*);
    unsetenv("LD_PRELOAD"); // not for programs that this one starts
    programMain = main;
    const auto start = reinterpret_cast<Start>(dlsym(RTLD_NEXT, "__libc_start_main"));
    return start(Serve, count, arguments, begin, end, loaderEnd, stack);
}
