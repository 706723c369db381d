// Keys of the console, on Win32: see ConsoleKeys.h.
#include "ConsoleKeys.h"

#include <conio.h>
#include <windows.h>

struct ConsoleKeys::Terminal {
    HANDLE input;
};

ConsoleKeys::ConsoleKeys()
{
    DWORD mode = 0;
    const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
    if (GetConsoleMode(input, &mode))
        terminal = std::make_unique<Terminal>(Terminal{input});
}

ConsoleKeys::~ConsoleKeys() = default;

int ConsoleKeys::Read(int milliseconds)
{
    for (int waited = 0; !terminal || !_kbhit(); waited += 10) {
        if (waited >= milliseconds)
            return none;
        Sleep(10);
    }
    const int character = _getch();
    if (character != 0 && character != 0xE0)
        return character;
    switch (_getch()) {
    case 75:
        return left;
    case 77:
        return right;
    case 72:
        return up;
    case 80:
        return down;
    case 71:
        return home;
    case 79:
        return end;
    default:
        return none;
    }
}
