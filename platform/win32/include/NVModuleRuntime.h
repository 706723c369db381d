// Exceptions between NVLib.dll and the programs and DLLs that use it, all made with mingw-w64. Each of them has the
// compiler's runtime inside, so that no compiler DLL has to lie beside it, and each runtime finds its way through its
// own module's stack frames only. Here they are told of each other. Applications do not call any of this: a program
// that links NVLib gets ModuleRuntimeClient.cpp, which does.
#pragma once

#include "NVExport.h"

#include <cstddef>

namespace NV {

/// The library's runtime, for the modules that join it. Any thread.
class NVLIB_API CModuleRuntime {
public:
    /// Tells the unwinding description of the code at an address, and fills `bases` for it; null when there is none.
    using FrameFinder = const void* (*)(void* address, void* bases);

    /// One module's way to its own frames. It lives as long as the module is loaded.
    struct Member {
        FrameFinder find = nullptr;
        Member* next = nullptr;
    };

    static void Join(Member& member);
    static void Leave(Member& member);

    /// Looks through the library and all members.
    static const void* FindFrame(void* address, void* bases);

    /// What a thread knows of its exceptions, and their memory: there is one of each, the library's. As in the C++ ABI.
    static void* Globals();
    static void* GlobalsFast();
    static void* Allocate(std::size_t size) noexcept;
    static void Free(void* exception) noexcept;
};

} // namespace NV
