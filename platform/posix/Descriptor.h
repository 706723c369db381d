// How a handle stands for a POSIX descriptor: it is the descriptor's number.
#pragma once

#include <cstdint>
#include <windows.h>

namespace NV {

inline HANDLE ToHandle(int descriptor)
{
    return reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(descriptor));
}

inline int ToDescriptor(HANDLE file)
{
    return static_cast<int>(reinterpret_cast<std::intptr_t>(file));
}

} // namespace NV
