// The library's side of NVModuleRuntime.h. The linker's --wrap option leads the runtime's search for frames through
// here (see Library.cmake).
#include "NVModuleRuntime.h"

#include <cxxabi.h>
#include <unwind.h>
#include <windows.h>

extern "C" {
const void* __real__Unwind_Find_FDE(void* address, void* bases);
const void* __wrap__Unwind_Find_FDE(void* address, void* bases);
}

namespace NV {
namespace {

// Constant-initialised: modules join while the program starts.
SRWLOCK lock = SRWLOCK_INIT; // guards the list
CModuleRuntime::Member* members = nullptr;

_Unwind_Reason_Code StopAtOnce(_Unwind_Context*, void*)
{
    return _URC_END_OF_STACK;
}

} // namespace

void CModuleRuntime::Join(Member& member)
{
    // A runtime sets up its table of registers when it first unwinds. Frames of this module may be asked for theirs by
    // another module's unwinder before that.
    _Unwind_Backtrace(StopAtOnce, nullptr);
    AcquireSRWLockExclusive(&lock);
    member.next = members;
    members = &member;
    ReleaseSRWLockExclusive(&lock);
}

void CModuleRuntime::Leave(Member& member)
{
    AcquireSRWLockExclusive(&lock);
    for (Member** at = &members; *at; at = &(*at)->next) {
        if (*at == &member) {
            *at = member.next;
            break;
        }
    }
    ReleaseSRWLockExclusive(&lock);
}

const void* CModuleRuntime::FindFrame(void* address, void* bases)
{
    if (const void* const own = __real__Unwind_Find_FDE(address, bases))
        return own;
    const void* found = nullptr;
    AcquireSRWLockShared(&lock);
    for (const Member* at = members; at && !found; at = at->next)
        found = at->find(address, bases);
    ReleaseSRWLockShared(&lock);
    return found;
}

void* CModuleRuntime::Globals()
{
    return abi::__cxa_get_globals();
}

void* CModuleRuntime::GlobalsFast()
{
    return abi::__cxa_get_globals_fast();
}

void* CModuleRuntime::Allocate(std::size_t size) noexcept
{
    return abi::__cxa_allocate_exception(size);
}

void CModuleRuntime::Free(void* exception) noexcept
{
    abi::__cxa_free_exception(exception);
}

} // namespace NV

const void* __wrap__Unwind_Find_FDE(void* address, void* bases)
{
    return NV::CModuleRuntime::FindFrame(address, bases);
}
