// The terminal behind standard error, on Win32: see Console.h.
#include "Console.h"

#include <cstdio>
#include <fcntl.h>
#include <io.h>
#include <windows.h>

namespace {

bool ErrorBuffer(CONSOLE_SCREEN_BUFFER_INFO& buffer)
{
    return GetConsoleScreenBufferInfo(GetStdHandle(STD_ERROR_HANDLE), &buffer) != FALSE;
}

} // namespace

void PassOutputUnchanged()
{
    _setmode(_fileno(stdout), _O_BINARY); // line ends would become two characters otherwise
}

bool IsErrorTerminal()
{
    CONSOLE_SCREEN_BUFFER_INFO buffer{};
    return ErrorBuffer(buffer);
}

int ErrorTerminalWidth()
{
    CONSOLE_SCREEN_BUFFER_INFO buffer{};
    const int columns = ErrorBuffer(buffer) ? buffer.srWindow.Right - buffer.srWindow.Left + 1 : 0;
    return columns > 0 ? columns : 80;
}
