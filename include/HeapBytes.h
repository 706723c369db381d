// Memory of the C heap that a buffer owns. Counted in bytes.
#pragma once

#include "NVTypes.h"

#include <afx.h>
#include <cstdlib>
#include <memory>

namespace NV {

struct FreeHeapBytes {
    void operator()(void* bytes) const { std::free(bytes); }
};

template <class Byte>
using HeapBytes = std::unique_ptr<Byte[], FreeHeapBytes>;

/// Zero-filled; never null. Raises the framework's out-of-memory exception, also for a count below 0.
template <class Byte>
HeapBytes<Byte> AllocateHeapBytes(int count)
{
    static_assert(sizeof(Byte) == 1);
    void* const bytes = count < 0 ? nullptr : std::calloc(count == 0 ? 1 : static_cast<std::size_t>(count), 1);
    if (bytes == nullptr)
        AfxThrowMemoryException();
    return HeapBytes<Byte>(static_cast<Byte*>(bytes));
}

} // namespace NV
