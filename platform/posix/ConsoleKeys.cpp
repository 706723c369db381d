// Keys of the terminal, on POSIX: see ConsoleKeys.h.
#include "ConsoleKeys.h"

#include <chrono>
#include <poll.h>
#include <string_view>
#include <termios.h>
#include <thread>
#include <unistd.h>

struct ConsoleKeys::Terminal {
    termios before;
};

ConsoleKeys::ConsoleKeys()
{
    termios settings;
    // A program in the background is stopped when it touches the terminal.
    if (!isatty(STDIN_FILENO) || tcgetpgrp(STDIN_FILENO) != getpgrp() || tcgetattr(STDIN_FILENO, &settings) != 0)
        return;
    terminal = std::make_unique<Terminal>(Terminal{settings});
    settings.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    settings.c_cc[VMIN] = 0;
    settings.c_cc[VTIME] = 0;
    tcsetattr(STDIN_FILENO, TCSANOW, &settings);
}

ConsoleKeys::~ConsoleKeys()
{
    if (terminal)
        tcsetattr(STDIN_FILENO, TCSANOW, &terminal->before);
}

int ConsoleKeys::Read(int milliseconds)
{
    if (!terminal) {
        std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
        return none;
    }
    pollfd input{STDIN_FILENO, POLLIN, 0};
    if (poll(&input, 1, milliseconds) <= 0)
        return none;
    char bytes[8];
    const ssize_t got = read(STDIN_FILENO, bytes, sizeof bytes); // a key's sequence comes in one piece
    if (got <= 0) {                                              // the terminal has gone
        terminal.reset();
        return none;
    }
    const std::string_view text(bytes, static_cast<std::size_t>(got));
    constexpr struct {
        std::string_view sequence;
        Key key;
    } keys[] = {{"\033[D", left}, {"\033[C", right}, {"\033[A", up},   {"\033[B", down},
                {"\033OD", left}, {"\033OC", right}, {"\033[H", home}, {"\033[1~", home},
                {"\033OH", home}, {"\033[F", end},   {"\033[4~", end}, {"\033OF", end}};
    for (const auto& each : keys)
        if (text == each.sequence)
            return each.key;
    return text.front() == '\033' && text.size() > 1 ? static_cast<int>(none)
                                                     : static_cast<unsigned char>(text.front());
}
