// Many pieces of work on all cores, their results in the order of the pieces.
#pragma once

#include <cstddef>
#include <functional>

namespace nvtool {

// Calls work(0) … work(count - 1), each once, on up to `jobs` threads of its own, and deliver(i) on the calling thread
// in the order of i, each as soon as work(i) and all deliveries before it are done. Calls idle() on the calling thread
// some ten times a second meanwhile. `work` must not throw. What `deliver` or `idle` throws comes out of here, after
// the pieces that are being worked on; the rest is then not begun.
void RunInOrder(size_t count, unsigned jobs, const std::function<void(size_t)>& work,
                const std::function<void(size_t)>& deliver, const std::function<void()>& idle);

} // namespace nvtool
