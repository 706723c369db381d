// The terminal behind standard error, on POSIX: see Console.h.
#include "Console.h"

#include <sys/ioctl.h>
#include <unistd.h>

void PassOutputUnchanged() {} // as it always does here

bool IsErrorTerminal()
{
    return isatty(STDERR_FILENO) == 1;
}

int ErrorTerminalWidth()
{
    winsize size{};
    const bool known = ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return known ? size.ws_col : 80;
}
