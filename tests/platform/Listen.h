// The other end of Sockets.h, which the library has no use for: taking connections on this machine.
#pragma once

#include "Sockets.h"

/// Listens on a free port of the loopback address and tells which. noSocket when that fails.
NV::SocketHandle ListenOnLoopback(int& port);
/// The next connection, noSocket when none comes within the time.
NV::SocketHandle AcceptConnection(NV::SocketHandle listener, u32 milliseconds);
