// Linked into every program and DLL that uses NVLib.dll: its side of NVModuleRuntime.h. The linker's --wrap options
// lead the runtime in this module through the functions below.
#include "NVModuleRuntime.h"

#include <unwind.h>

extern "C" {
const void* __real__Unwind_Find_FDE(void* address, void* bases);
const void* __wrap__Unwind_Find_FDE(void* address, void* bases);
void* __wrap___cxa_get_globals();
void* __wrap___cxa_get_globals_fast();
void* __wrap___cxa_allocate_exception(std::size_t size) noexcept;
void __wrap___cxa_free_exception(void* exception) noexcept;
}

namespace {

using NV::CModuleRuntime;

_Unwind_Reason_Code StopAtOnce(_Unwind_Context*, void*)
{
    return _URC_END_OF_STACK;
}

class Membership {
public:
    Membership()
    {
        _Unwind_Backtrace(StopAtOnce, nullptr); // sets up this runtime's table of registers; see the library's side
        CModuleRuntime::Join(member);
    }
    ~Membership() { CModuleRuntime::Leave(member); }
    Membership(const Membership&) = delete;
    Membership& operator=(const Membership&) = delete;

private:
    CModuleRuntime::Member member{__real__Unwind_Find_FDE};
};

// Before the module's other static objects, whose construction may already meet exceptions of the library.
__attribute__((init_priority(101))) const Membership membership;

} // namespace

const void* __wrap__Unwind_Find_FDE(void* address, void* bases)
{
    const void* const own = __real__Unwind_Find_FDE(address, bases);
    return own ? own : CModuleRuntime::FindFrame(address, bases);
}

void* __wrap___cxa_get_globals()
{
    return CModuleRuntime::Globals();
}

void* __wrap___cxa_get_globals_fast()
{
    return CModuleRuntime::GlobalsFast();
}

void* __wrap___cxa_allocate_exception(std::size_t size) noexcept
{
    return CModuleRuntime::Allocate(size);
}

void __wrap___cxa_free_exception(void* exception) noexcept
{
    CModuleRuntime::Free(exception);
}
