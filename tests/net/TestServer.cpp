// See TestServer.h.
#include "TestServer.h"

#include "platform/Listen.h"

#include <stdexcept>

std::string Connection::ReadRequest()
{
    std::string request;
    std::size_t wanted = std::string::npos;
    while (request.size() < wanted) {
        char bytes[4096];
        const int got = ReadSome(bytes, sizeof bytes);
        if (got < 0)
            break;
        request.append(bytes, static_cast<std::size_t>(got));
        const std::size_t head = request.find("\r\n\r\n");
        const std::size_t length = request.find("Content-Length: ");
        if (head != std::string::npos)
            wanted = head + 4 + (length < head ? std::stoul(request.substr(length + 16)) : 0);
    }
    return request;
}

bool Connection::Send(const std::string& bytes)
{
    for (std::size_t sent = 0; sent < bytes.size();) {
        const std::size_t piece = std::min<std::size_t>(bytes.size() - sent, 1 << 16);
        const int done = stopping ? -1 : WriteSome(bytes.data() + sent, static_cast<int>(piece));
        if (done < 0)
            return false;
        sent += static_cast<std::size_t>(done);
    }
    return true;
}

void Connection::Linger()
{
    char bytes[512];
    while (!stopping && ReadSome(bytes, sizeof bytes) >= 0) {
    }
}

int Connection::ReadSome(char* bytes, int count)
{
    bool ready = false;
    if (stopping || NV::WaitForSocket(socket, NV::SocketEvent::readable, 20, ready) != 0)
        return -1;
    std::size_t done = 0;
    if (ready && (NV::ReceiveSome(socket, bytes, static_cast<std::size_t>(count), done) != 0 || done == 0))
        return -1;
    return static_cast<int>(done);
}

int Connection::WriteSome(const char* bytes, int count)
{
    bool ready = false;
    std::size_t done = 0;
    if (NV::SendSome(socket, bytes, static_cast<std::size_t>(count), done) != 0)
        return -1;
    if (done == 0 && NV::WaitForSocket(socket, NV::SocketEvent::writable, 20, ready) != 0)
        return -1;
    return static_cast<int>(done);
}

TestServer::TestServer(Handler answer, bool overTls)
    : handler(std::move(answer)), tls(overTls), listener(ListenOnLoopback(port))
{
    if (listener == NV::noSocket)
        throw std::runtime_error("no server can be made on this machine");
    thread = std::thread([this] { Run(); });
}

TestServer::~TestServer()
{
    stopping = true;
    thread.join();
    NV::CloseSocket(listener);
}

void TestServer::Run()
{
    while (!stopping) {
        const NV::SocketHandle accepted = AcceptConnection(listener, 20);
        if (accepted == NV::noSocket)
            continue;
        ++taken;
        std::unique_ptr<Connection> connection;
        if (tls)
            connection = MakeTlsConnection(accepted, stopping);
        else
            connection = std::make_unique<Connection>(accepted, stopping);
        if (connection)
            handler(*connection);
    }
}
