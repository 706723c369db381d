// Keys of an X server by Windows' numbers.
#pragma once

namespace NV {

/// `alone` is what the key gives by itself, `symbol` what it gives with what else is held (the number block's keys
/// change with its lock). 0 for keys that have no number here.
int VirtualKeyOf(unsigned long alone, unsigned long symbol);

} // namespace NV
