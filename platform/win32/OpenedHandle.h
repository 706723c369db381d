// Closes a handle that did not become a caller's.
#pragma once

#include <utility>
#include <windows.h>

namespace NV {

class OpenedHandle {
public:
    explicit OpenedHandle(HANDLE opened) : handle(opened) {}
    ~OpenedHandle()
    {
        if (*this)
            CloseHandle(handle);
    }
    OpenedHandle(const OpenedHandle&) = delete;
    OpenedHandle& operator=(const OpenedHandle&) = delete;

    explicit operator bool() const { return handle != INVALID_HANDLE_VALUE; }
    HANDLE Get() const { return handle; }
    HANDLE Release() { return std::exchange(handle, INVALID_HANDLE_VALUE); }

private:
    HANDLE handle;
};

/// Opens a file or folder to be asked about only, which no share mode stands against. Links are followed.
inline OpenedHandle OpenToAsk(const char* path)
{
    constexpr DWORD shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    return OpenedHandle(CreateFileA(path, FILE_READ_ATTRIBUTES, shareAll, nullptr, OPEN_EXISTING,
                                    FILE_FLAG_BACKUP_SEMANTICS, nullptr)); // the flag lets folders be opened
}

} // namespace NV
