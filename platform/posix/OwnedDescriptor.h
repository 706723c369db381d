// A POSIX descriptor that is closed with its owner.
#pragma once

#include <unistd.h>
#include <utility>

namespace NV {

class OwnedDescriptor {
public:
    OwnedDescriptor() = default;
    explicit OwnedDescriptor(int opened) : descriptor(opened) {}
    ~OwnedDescriptor() { Close(); }
    OwnedDescriptor(OwnedDescriptor&& other) noexcept : descriptor(std::exchange(other.descriptor, -1)) {}
    OwnedDescriptor& operator=(OwnedDescriptor&& other) noexcept
    {
        if (this != &other) {
            Close();
            descriptor = std::exchange(other.descriptor, -1);
        }
        return *this;
    }

    explicit operator bool() const { return descriptor >= 0; }
    int Get() const { return descriptor; }
    void Close()
    {
        if (descriptor >= 0)
            close(std::exchange(descriptor, -1));
    }

private:
    int descriptor = -1;
};

} // namespace NV
