// What a Win32 call that has just failed left behind. Must be the very next call.
#pragma once

#include "File.h"

namespace NV {

inline FileError LastFailure()
{
    const i32 system = static_cast<i32>(::GetLastError());
    return {SystemFile::FaultOf(system), system};
}

} // namespace NV
