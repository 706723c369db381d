// A TCP connection for requests over plain HTTP. Times are milliseconds. One thread at a time.
#pragma once

#include "NVExport.h"
#include "NVTypes.h"

/// A connection that blocks, but never for longer than it was told. It closes itself when it is destroyed. Every
/// operation that fails gives false or a negative count and leaves the system's error number, in the numbering of
/// Windows' sockets on both products (10060 for a wait that took too long), in `GetLastError`.
class NVLIB_API CHTTPSocket {
public:
    CHTTPSocket() = default;
    ~CHTTPSocket();
    CHTTPSocket(const CHTTPSocket&) = delete;
    CHTTPSocket& operator=(const CHTTPSocket&) = delete;

    /// Makes the socket; one that was there is closed first.
    bool Create();
    /// Finds the host's addresses and connects to the first one that answers. The wait set by `SetTimeout` is for all
    /// of them together; finding them takes as long as the system's resolver does.
    bool Connect(const char* host, int port);
    /// Sends all `length` bytes. Returns their count, or -1; each part that the other end takes restarts the wait.
    int Send(const void* buffer, int length);
    /// Receives what has come, at most `length` bytes, waiting for the first ones. Returns how many came, 0 when the
    /// other end has closed the connection, -1 on a failure.
    int Receive(void* buffer, int length);
    /// Waits until something can be received, or the other end has closed. `readable` is false when the time is over.
    bool IsReadible(bool& readable, u32 milliseconds);
    void Close();

    /// The longest wait of `Connect`, of each step of `Send` and of `Receive`. 2000 at first.
    void SetTimeout(u32 milliseconds) { timeout = milliseconds; }
    u32 GetLastError() const { return lastError; }

private:
    bool Note(int error);

    static constexpr std::uintptr_t none = ~std::uintptr_t{0};
    std::uintptr_t handle = none;
    int family = 0;
    u32 timeout = 2000;
    u32 lastError = 0;
};
