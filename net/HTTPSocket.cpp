// See HTTPSocket.h. The waiting itself is in platform/.
#include "HTTPSocket.h"

#include "Sockets.h"

#include <algorithm>
#include <chrono>

namespace {

using Clock = std::chrono::steady_clock;

u32 MillisecondsTo(Clock::time_point end)
{
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
    return static_cast<u32>(std::clamp<long long>(left, 0, 0x7FFFFFFF));
}

} // namespace

CHTTPSocket::~CHTTPSocket()
{
    Close();
}

// Keeps the error number; true when it is none.
bool CHTTPSocket::Note(int error)
{
    lastError = static_cast<u32>(error);
    return error == 0;
}

void CHTTPSocket::Close()
{
    if (handle != none)
        NV::CloseSocket(handle);
    handle = none;
}

bool CHTTPSocket::Create()
{
    Close();
    family = NV::PlainFamily();
    return Note(NV::OpenSocket(family, handle));
}

bool CHTTPSocket::Connect(const char* host, int port)
{
    const auto end = Clock::now() + std::chrono::milliseconds(timeout);
    std::vector<NV::NetAddress> addresses;
    if (!Note(NV::ResolveHost(host, port, addresses)))
        return false;
    for (std::size_t i = 0; i < addresses.size(); ++i) {
        // A socket that failed to connect is of no further use, nor is one of another family.
        if (i > 0 || handle == none || addresses[i].family != family) {
            Close();
            family = addresses[i].family;
            if (!Note(NV::OpenSocket(family, handle)))
                continue;
        }
        // An address that never answers must not use up the time of those behind it.
        const u32 share = MillisecondsTo(end) / static_cast<u32>(addresses.size() - i);
        if (Note(NV::ConnectSocket(handle, addresses[i], share)))
            return true;
    }
    Close();
    return false;
}

int CHTTPSocket::Send(const void* buffer, int length)
{
    const char* const bytes = static_cast<const char*>(buffer);
    int sent = 0;
    while (sent < length) {
        std::size_t done = 0;
        if (!Note(NV::SendSome(handle, bytes + sent, static_cast<std::size_t>(length - sent), done)))
            return -1;
        sent += static_cast<int>(done);
        bool ready = true;
        if (done == 0 && !Note(NV::WaitForSocket(handle, NV::SocketEvent::writable, timeout, ready)))
            return -1;
        if (!ready) {
            Note(NV::netTimedOut);
            return -1;
        }
    }
    return sent;
}

int CHTTPSocket::Receive(void* buffer, int length)
{
    bool readable = false;
    if (!IsReadible(readable, timeout))
        return -1;
    if (!readable) {
        Note(NV::netTimedOut);
        return -1;
    }
    std::size_t done = 0;
    if (!Note(NV::ReceiveSome(handle, buffer, static_cast<std::size_t>(std::max(length, 0)), done)))
        return -1;
    return static_cast<int>(done);
}

bool CHTTPSocket::IsReadible(bool& readable, u32 milliseconds)
{
    readable = false;
    return Note(NV::WaitForSocket(handle, NV::SocketEvent::readable, milliseconds, readable));
}
