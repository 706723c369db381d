// Sockets.h for Win32.
#include "Sockets.h"

#include <winsock2.h>
#include <ws2tcpip.h>

#include <cstring>
#include <memory>
#include <windows.h>

namespace NV {
namespace {

static_assert(sizeof(sockaddr_storage) == sizeof(NetAddress::bytes));

/// The system's sockets are started once and stay: ending them would take them from the application too.
bool Started()
{
    static const bool started = [] {
        WSADATA data;
        return WSAStartup(MAKEWORD(2, 2), &data) == 0;
    }();
    return started;
}

int Clipped(std::size_t count)
{
    constexpr std::size_t most = 1U << 30;
    return static_cast<int>(count < most ? count : most);
}

} // namespace

int ResolveHost(const char* host, int port, std::vector<NetAddress>& addresses)
{
    if (!Started())
        return netNoRecovery;
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    if (getaddrinfo(host, std::to_string(port).c_str(), &hints, &found) != 0)
        return netHostNotFound;
    const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> list(found, &freeaddrinfo);
    for (const addrinfo* at = list.get(); at; at = at->ai_next) {
        NetAddress address;
        if (at->ai_addrlen > sizeof address.bytes)
            continue;
        address.family = at->ai_family;
        address.size = static_cast<u32>(at->ai_addrlen);
        std::memcpy(address.bytes, at->ai_addr, at->ai_addrlen);
        addresses.push_back(address);
    }
    return addresses.empty() ? netHostNotFound : 0;
}

int PlainFamily()
{
    return AF_INET;
}

int OpenSocket(int family, SocketHandle& socket)
{
    if (!Started())
        return netNoRecovery;
    const SOCKET opened = ::socket(family, SOCK_STREAM, IPPROTO_TCP);
    if (opened == INVALID_SOCKET)
        return WSAGetLastError();
    u_long nonBlocking = 1;
    if (ioctlsocket(opened, static_cast<long>(FIONBIO), &nonBlocking) != 0) {
        const int error = WSAGetLastError();
        closesocket(opened);
        return error;
    }
    const BOOL yes = TRUE; // requests are small and go out whole
    setsockopt(opened, IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&yes), sizeof yes);
    SetHandleInformation(reinterpret_cast<HANDLE>(opened), HANDLE_FLAG_INHERIT, 0);
    socket = opened;
    return 0;
}

void CloseSocket(SocketHandle socket)
{
    closesocket(socket);
}

int WaitForSocket(SocketHandle socket, SocketEvent event, u32 milliseconds, bool& ready)
{
    fd_set asked, failed;
    asked.fd_count = failed.fd_count = 1;
    asked.fd_array[0] = failed.fd_array[0] = socket;
    timeval wait{static_cast<long>(milliseconds / 1000), static_cast<long>(milliseconds % 1000 * 1000)};
    const bool reading = event == SocketEvent::readable;
    // A connection that fails shows as an exception here, not as writable.
    const int result = select(0, reading ? &asked : nullptr, reading ? nullptr : &asked, &failed, &wait);
    if (result == SOCKET_ERROR)
        return WSAGetLastError();
    ready = result > 0;
    return 0;
}

int ConnectSocket(SocketHandle socket, const NetAddress& address, u32 milliseconds)
{
    sockaddr_storage target;
    std::memcpy(&target, address.bytes, sizeof target);
    if (connect(socket, reinterpret_cast<const sockaddr*>(&target), static_cast<int>(address.size)) == 0)
        return 0;
    if (const int error = WSAGetLastError(); error != WSAEWOULDBLOCK && error != WSAEINPROGRESS)
        return error;
    bool ready = false;
    if (const int error = WaitForSocket(socket, SocketEvent::writable, milliseconds, ready))
        return error;
    if (!ready)
        return netTimedOut;
    int outcome = 0;
    int size = sizeof outcome;
    if (getsockopt(socket, SOL_SOCKET, SO_ERROR, reinterpret_cast<char*>(&outcome), &size) != 0)
        return WSAGetLastError();
    return outcome;
}

int SendSome(SocketHandle socket, const void* bytes, std::size_t count, std::size_t& done)
{
    done = 0;
    const int sent = send(socket, static_cast<const char*>(bytes), Clipped(count), 0);
    if (sent == SOCKET_ERROR) {
        const int error = WSAGetLastError();
        return error == WSAEWOULDBLOCK ? 0 : error;
    }
    done = static_cast<std::size_t>(sent);
    return 0;
}

int ReceiveSome(SocketHandle socket, void* bytes, std::size_t count, std::size_t& done)
{
    done = 0;
    const int got = recv(socket, static_cast<char*>(bytes), Clipped(count), 0);
    if (got == SOCKET_ERROR)
        return WSAGetLastError();
    done = static_cast<std::size_t>(got);
    return 0;
}

std::string NetErrorText(int error)
{
    char text[512];
    const DWORD length = FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                                        static_cast<DWORD>(error), 0, text, sizeof text, nullptr);
    std::string message(text, length);
    while (!message.empty() && static_cast<unsigned char>(message.back()) <= ' ')
        message.pop_back();
    return message.empty() ? "network error " + std::to_string(error) : message;
}

std::string SystemUserName()
{
    char name[257];
    DWORD size = sizeof name;
    return GetUserNameA(name, &size) ? name : "";
}

std::string SystemHostName()
{
    char name[256] = {};
    return Started() && gethostname(name, sizeof name - 1) == 0 ? name : "";
}

} // namespace NV
