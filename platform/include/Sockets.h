// TCP connections that never wait longer than they are told to. Error numbers are those of Windows' sockets on every
// system, so that an application tests for the same ones. Any thread; one socket belongs to one thread at a time.
#pragma once

#include "NVTypes.h"

#include <cstddef>
#include <string>
#include <vector>

namespace NV {

using SocketHandle = std::uintptr_t;
constexpr SocketHandle noSocket = ~SocketHandle{0};

/// 0 stands for success wherever an error number is returned.
enum NetError : int {
    netInterrupted = 10004,
    netMessageTooLong = 10040,
    netNotSupported = 10043,
    netReset = 10054,
    netTimedOut = 10060,
    netRefused = 10061,
    netHostNotFound = 11001,
    netNoRecovery = 11003
};

/// An address as the system keeps it.
struct NetAddress {
    int family = 0;
    u32 size = 0;
    u8 bytes[128] = {};
};

/// The addresses of a host, numbers or a name, in the order in which they should be tried. The system's own resolver
/// decides how long that takes. An error number.
int ResolveHost(const char* host, int port, std::vector<NetAddress>& addresses);

/// The family of addresses with four numbers, for a socket that is made before its address is known.
int PlainFamily();

/// Makes a socket for addresses of a family; it never blocks. An error number.
int OpenSocket(int family, SocketHandle& socket);
void CloseSocket(SocketHandle socket);

enum class SocketEvent : u8 { readable, writable };
/// Waits up to `milliseconds` until the socket can be read (also: the other end has closed it, or it has failed) or
/// written to. `ready` is false when the time is over. An error number.
int WaitForSocket(SocketHandle socket, SocketEvent event, u32 milliseconds, bool& ready);

/// Connects within `milliseconds`. An error number; netTimedOut when the time is over.
int ConnectSocket(SocketHandle socket, const NetAddress& address, u32 milliseconds);

/// Sends or receives what is possible at once. `done` is 0 when nothing is (sending) or the other end has closed the
/// connection (receiving); receiving when nothing has come yet is an error. An error number.
int SendSome(SocketHandle socket, const void* bytes, std::size_t count, std::size_t& done);
int ReceiveSome(SocketHandle socket, void* bytes, std::size_t count, std::size_t& done);

/// What the system says of an error number.
std::string NetErrorText(int error);

/// The name of the user who is logged on, and of this machine; empty when the system does not tell.
std::string SystemUserName();
std::string SystemHostName();

} // namespace NV
