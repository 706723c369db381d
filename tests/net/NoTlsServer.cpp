// The test server without HTTPS, where there is no OpenSSL.
#include "TestServer.h"

bool TestServer::HasTls()
{
    return false;
}

std::unique_ptr<Connection> MakeTlsConnection(NV::SocketHandle accepted, const std::atomic<bool>&)
{
    NV::CloseSocket(accepted);
    return nullptr;
}
