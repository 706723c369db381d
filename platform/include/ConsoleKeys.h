// Keys as a person presses them, without Return, for a command-line program. One thread.
#pragma once

#include <memory>

/// The terminal behind standard input, which neither waits for lines nor shows what is typed while this object stands;
/// Ctrl-C does what it does. Nothing where standard input is a file or a pipe.
class ConsoleKeys {
public:
    enum Key { none = 0, left = 256, right, up, down, home, end };

    ConsoleKeys();
    ~ConsoleKeys();
    ConsoleKeys(const ConsoleKeys&) = delete;
    ConsoleKeys& operator=(const ConsoleKeys&) = delete;

    /// A character or one of Key; none when nothing was pressed within that time.
    int Read(int milliseconds);

private:
    struct Terminal;
    std::unique_ptr<Terminal> terminal; // null: there is none
};
