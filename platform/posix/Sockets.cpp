// Sockets.h for POSIX.
#include "Sockets.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <pwd.h>
#include <sys/socket.h>
#include <unistd.h>

namespace NV {
namespace {

static_assert(sizeof(sockaddr_storage) == sizeof(NetAddress::bytes));

struct ErrorRow {
    int system, net;
};

// The common ones; the rest counts as "no recovery".
constexpr ErrorRow errorRows[] = {
    {EINTR, netInterrupted}, {EACCES, 10013},       {EMFILE, 10024},          {EMSGSIZE, netMessageTooLong},
    {EAFNOSUPPORT, 10047},   {EADDRINUSE, 10048},   {EADDRNOTAVAIL, 10049},   {ENETDOWN, 10050},
    {ENETUNREACH, 10051},    {ECONNABORTED, 10053}, {ECONNRESET, netReset},   {EPIPE, netReset},
    {ENOBUFS, 10055},        {ENOTCONN, 10057},     {ETIMEDOUT, netTimedOut}, {ECONNREFUSED, netRefused},
    {EHOSTDOWN, 10064},      {EHOSTUNREACH, 10065}, {EAGAIN, 10035},
};

int NetErrorOf(int system)
{
    for (const ErrorRow& row : errorRows) {
        if (row.system == system)
            return row.net;
    }
    return netNoRecovery;
}

int Descriptor(SocketHandle socket)
{
    return static_cast<int>(socket);
}

} // namespace

int ResolveHost(const char* host, int port, std::vector<NetAddress>& addresses)
{
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
        address.size = at->ai_addrlen;
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
    const int opened = ::socket(family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (opened < 0)
        return NetErrorOf(errno);
    const int yes = 1; // requests are small and go out whole
    setsockopt(opened, IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);
    socket = static_cast<SocketHandle>(opened);
    return 0;
}

void CloseSocket(SocketHandle socket)
{
    close(Descriptor(socket));
}

int WaitForSocket(SocketHandle socket, SocketEvent event, u32 milliseconds, bool& ready)
{
    using Clock = std::chrono::steady_clock;
    const auto end = Clock::now() + std::chrono::milliseconds(milliseconds);
    pollfd asked{Descriptor(socket), static_cast<short>(event == SocketEvent::readable ? POLLIN : POLLOUT), 0};
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
        const int result = poll(&asked, 1, static_cast<int>(std::clamp<long long>(left, 0, 1 << 30)));
        if (result < 0 && errno == EINTR)
            continue;
        if (result < 0)
            return NetErrorOf(errno);
        ready = result > 0;
        return 0;
    }
}

int ConnectSocket(SocketHandle socket, const NetAddress& address, u32 milliseconds)
{
    sockaddr_storage target;
    std::memcpy(&target, address.bytes, sizeof target);
    if (connect(Descriptor(socket), reinterpret_cast<const sockaddr*>(&target), address.size) == 0)
        return 0;
    if (errno != EINPROGRESS && errno != EINTR)
        return NetErrorOf(errno);
    bool ready = false;
    if (const int error = WaitForSocket(socket, SocketEvent::writable, milliseconds, ready))
        return error;
    if (!ready)
        return netTimedOut;
    int outcome = 0;
    socklen_t size = sizeof outcome;
    if (getsockopt(Descriptor(socket), SOL_SOCKET, SO_ERROR, &outcome, &size) != 0)
        return NetErrorOf(errno);
    return outcome == 0 ? 0 : NetErrorOf(outcome);
}

int SendSome(SocketHandle socket, const void* bytes, std::size_t count, std::size_t& done)
{
    done = 0;
    const ssize_t sent = send(Descriptor(socket), bytes, count, MSG_NOSIGNAL);
    if (sent < 0)
        return errno == EAGAIN || errno == EINTR ? 0 : NetErrorOf(errno);
    done = static_cast<std::size_t>(sent);
    return 0;
}

int ReceiveSome(SocketHandle socket, void* bytes, std::size_t count, std::size_t& done)
{
    done = 0;
    const ssize_t got = recv(Descriptor(socket), bytes, count, 0);
    if (got < 0)
        return NetErrorOf(errno);
    done = static_cast<std::size_t>(got);
    return 0;
}

std::string NetErrorText(int error)
{
    if (error == netHostNotFound)
        return gai_strerror(EAI_NONAME);
    for (const ErrorRow& row : errorRows) {
        if (row.net == error)
            return std::strerror(row.system);
    }
    return "network error " + std::to_string(error);
}

std::string SystemUserName()
{
    char text[4096];
    passwd entry;
    passwd* found = nullptr;
    return getpwuid_r(geteuid(), &entry, text, sizeof text, &found) == 0 && found ? found->pw_name : "";
}

std::string SystemHostName()
{
    char name[256] = {};
    return gethostname(name, sizeof name - 1) == 0 ? name : "";
}

} // namespace NV
