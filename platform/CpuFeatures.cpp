// Through the compiler's own look at the processor, so it is the same on every system.
#include "CpuFeatures.h"

#include <algorithm>
#include <thread>

namespace NV {

bool CpuHasAvx2()
{
#if defined(__x86_64__) || defined(__i386__)
    return __builtin_cpu_supports("avx2");
#else
    return false;
#endif
}

int ProcessorCount()
{
    return static_cast<int>(std::max(1U, std::thread::hardware_concurrency()));
}

} // namespace NV
