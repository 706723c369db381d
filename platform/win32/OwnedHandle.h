// A handle of the system that is closed with its owner.
#pragma once

#include <utility>
#include <windows.h>

namespace NV {

class OwnedHandle {
public:
    OwnedHandle() = default;
    explicit OwnedHandle(HANDLE opened) : handle(opened == INVALID_HANDLE_VALUE ? nullptr : opened) {}
    ~OwnedHandle() { Close(); }
    OwnedHandle(OwnedHandle&& other) noexcept : handle(std::exchange(other.handle, nullptr)) {}
    OwnedHandle& operator=(OwnedHandle&& other) noexcept
    {
        if (this != &other) {
            Close();
            handle = std::exchange(other.handle, nullptr);
        }
        return *this;
    }

    explicit operator bool() const { return handle != nullptr; }
    HANDLE Get() const { return handle; }
    void Close()
    {
        if (handle)
            CloseHandle(std::exchange(handle, nullptr));
    }

private:
    HANDLE handle = nullptr;
};

} // namespace NV
