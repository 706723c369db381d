// A server on this machine that answers as a test tells it to, well or badly, over plain HTTP or HTTPS.
#pragma once

#include "Sockets.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>

/// One client's connection, on the server's thread.
class Connection {
public:
    Connection(NV::SocketHandle accepted, const std::atomic<bool>& stop) : socket(accepted), stopping(stop) {}
    virtual ~Connection() { NV::CloseSocket(socket); }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    /// The request's head, with the body that it announces.
    std::string ReadRequest();
    /// False when the client has gone or the test is over.
    bool Send(const std::string& bytes);
    /// Waits until the client has gone or the test is over.
    void Linger();
    bool Stopping() const { return stopping; }

protected:
    /// What can be moved at once; -1 at the end.
    virtual int ReadSome(char* bytes, int count);
    virtual int WriteSome(const char* bytes, int count);
    NV::SocketHandle socket;

private:
    const std::atomic<bool>& stopping;
};

class TestServer {
public:
    using Handler = std::function<void(Connection&)>;
    explicit TestServer(Handler answer, bool overTls = false);
    ~TestServer();
    TestServer(const TestServer&) = delete;
    TestServer& operator=(const TestServer&) = delete;
    int Port() const { return port; }
    /// Connections so far.
    int Taken() const { return taken; }

    /// Whether this build can answer over HTTPS.
    static bool HasTls();

private:
    void Run();

    Handler handler;
    bool tls;
    int port = 0;
    NV::SocketHandle listener;
    std::atomic<bool> stopping = false;
    std::atomic<int> taken = 0;
    std::thread thread;
};

/// Takes the connection over for HTTPS; null when the client does not agree.
std::unique_ptr<Connection> MakeTlsConnection(NV::SocketHandle accepted, const std::atomic<bool>& stop);
