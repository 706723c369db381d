// What the processor can do, for code that chooses its kernels while it runs. Any thread.
#pragma once

namespace NV {

/// The instruction set is there and the system saves its registers.
bool CpuHasAvx2();

/// Processors that this process may use; at least 1.
int ProcessorCount();

} // namespace NV
