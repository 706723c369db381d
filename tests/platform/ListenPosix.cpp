// Listen.h for POSIX.
#include "Listen.h"

#include <netinet/in.h>
#include <sys/socket.h>

NV::SocketHandle ListenOnLoopback(int& port)
{
    NV::SocketHandle listener = NV::noSocket;
    if (NV::OpenSocket(AF_INET, listener) != 0)
        return NV::noSocket;
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* const plain = reinterpret_cast<sockaddr*>(&address);
    const int descriptor = static_cast<int>(listener);
    if (bind(descriptor, plain, size) != 0 || listen(descriptor, 16) != 0 || getsockname(descriptor, plain, &size) != 0)
        return NV::noSocket;
    port = ntohs(address.sin_port);
    return listener;
}

NV::SocketHandle AcceptConnection(NV::SocketHandle listener, u32 milliseconds)
{
    bool ready = false;
    if (NV::WaitForSocket(listener, NV::SocketEvent::readable, milliseconds, ready) != 0 || !ready)
        return NV::noSocket;
    const int accepted = accept4(static_cast<int>(listener), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
    return accepted < 0 ? NV::noSocket : static_cast<NV::SocketHandle>(accepted);
}
