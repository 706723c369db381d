// Listen.h for Win32.
#include "Listen.h"

#include <winsock2.h>

NV::SocketHandle ListenOnLoopback(int& port)
{
    NV::SocketHandle listener = NV::noSocket;
    if (NV::OpenSocket(AF_INET, listener) != 0)
        return NV::noSocket;
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    int size = sizeof address;
    auto* const plain = reinterpret_cast<sockaddr*>(&address);
    if (bind(listener, plain, size) != 0 || listen(listener, 16) != 0 || getsockname(listener, plain, &size) != 0)
        return NV::noSocket;
    port = ntohs(address.sin_port);
    return listener;
}

NV::SocketHandle AcceptConnection(NV::SocketHandle listener, u32 milliseconds)
{
    bool ready = false;
    if (NV::WaitForSocket(listener, NV::SocketEvent::readable, milliseconds, ready) != 0 || !ready)
        return NV::noSocket;
    const SOCKET accepted = accept(listener, nullptr, nullptr);
    if (accepted == INVALID_SOCKET)
        return NV::noSocket;
    u_long nonBlocking = 1;
    ioctlsocket(accepted, static_cast<long>(FIONBIO), &nonBlocking);
    return accepted;
}
