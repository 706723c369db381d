// Memory by handle, on POSIX: the handle is the place. See winbase.h.
#include <cstdlib>
#include <windows.h>

HGLOBAL GlobalAlloc(UINT, SIZE_T bytes)
{
    return std::malloc(bytes > 0 ? bytes : 1);
}

LPVOID GlobalLock(HGLOBAL memory)
{
    return memory;
}

BOOL GlobalUnlock(HGLOBAL)
{
    return FALSE;
}

HGLOBAL GlobalFree(HGLOBAL memory)
{
    std::free(memory);
    return nullptr;
}
