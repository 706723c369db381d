// HTTPS for the test server, with a certificate made on the spot that nobody trusts.
#include "TestServer.h"

#include <csignal>
#include <openssl/evp.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>

namespace {

using Context = std::unique_ptr<SSL_CTX, decltype(&SSL_CTX_free)>;

// Clients leave in the middle of what is sent to them. Said before there are any: libcurl puts back, after each
// transfer, what it found at its beginning.
[[maybe_unused]] const auto brokenPipes = std::signal(SIGPIPE, SIG_IGN);

SSL_CTX* MakeContext()
{
    Context context(SSL_CTX_new(TLS_server_method()), &SSL_CTX_free);
    const std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> key(EVP_EC_gen("P-256"), &EVP_PKEY_free);
    const std::unique_ptr<X509, decltype(&X509_free)> certificate(X509_new(), &X509_free);
    X509_set_version(certificate.get(), 2);
    ASN1_INTEGER_set(X509_get_serialNumber(certificate.get()), 1);
    X509_gmtime_adj(X509_getm_notBefore(certificate.get()), -3600);
    X509_gmtime_adj(X509_getm_notAfter(certificate.get()), 3600);
    X509_set_pubkey(certificate.get(), key.get());
    X509_NAME* const name = X509_get_subject_name(certificate.get());
    X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC, reinterpret_cast<const unsigned char*>("localhost"), -1, -1,
                               0);
    X509_set_issuer_name(certificate.get(), name);
    X509_sign(certificate.get(), key.get(), EVP_sha256());
    SSL_CTX_use_certificate(context.get(), certificate.get());
    SSL_CTX_use_PrivateKey(context.get(), key.get());
    SSL_CTX_set_mode(context.get(), SSL_MODE_ENABLE_PARTIAL_WRITE | SSL_MODE_ACCEPT_MOVING_WRITE_BUFFER);
    return context.release();
}

class TlsConnection : public Connection {
public:
    TlsConnection(NV::SocketHandle accepted, const std::atomic<bool>& stop)
        : Connection(accepted, stop), ssl(nullptr, &SSL_free)
    {
        static const Context context(MakeContext(), &SSL_CTX_free);
        ssl.reset(SSL_new(context.get()));
        SSL_set_fd(ssl.get(), static_cast<int>(accepted));
    }
    ~TlsConnection() override { SSL_shutdown(ssl.get()); }

    bool Agree()
    {
        while (!Stopping()) {
            const int result = SSL_accept(ssl.get());
            if (result == 1)
                return true;
            if (!Wait(result))
                return false;
        }
        return false;
    }

protected:
    int ReadSome(char* bytes, int count) override
    {
        const int got = Stopping() ? -1 : SSL_read(ssl.get(), bytes, count);
        return got > 0 ? got : !Stopping() && Wait(got) ? 0 : -1;
    }
    int WriteSome(const char* bytes, int count) override
    {
        const int put = SSL_write(ssl.get(), bytes, count);
        return put > 0 ? put : Wait(put) ? 0 : -1;
    }

private:
    bool Wait(int result)
    {
        bool ready = false;
        const int error = SSL_get_error(ssl.get(), result);
        if (error != SSL_ERROR_WANT_READ && error != SSL_ERROR_WANT_WRITE)
            return false;
        return NV::WaitForSocket(socket,
                                 error == SSL_ERROR_WANT_READ ? NV::SocketEvent::readable : NV::SocketEvent::writable,
                                 20, ready) == 0;
    }
    std::unique_ptr<SSL, decltype(&SSL_free)> ssl;
};

} // namespace

bool TestServer::HasTls()
{
    return true;
}

std::unique_ptr<Connection> MakeTlsConnection(NV::SocketHandle accepted, const std::atomic<bool>& stop)
{
    auto connection = std::make_unique<TlsConnection>(accepted, stop);
    return connection->Agree() ? std::move(connection) : nullptr;
}
