#pragma once

#include "platform/tessapi/network/ITransport.h"
#include "platform/tessapi/network/NetworkUrl.h"
#include "platform/tessapi/network/SocketTransport.h"

#include <memory>
#include <openssl/types.h>

namespace tessapi {

/// An encrypted connection, TLS 1.2 at least. The server has to prove that it is the host that was asked for.
/// Threads: one at a time.
class TlsTransport final : public ITransport {
public:
    /// Connects to `server`; the certificates are those of `url`.
    TlsTransport(const Endpoint& server, const NetworkUrl& url, const Deadline& deadline);
    ~TlsTransport() override;
    TlsTransport(const TlsTransport&) = delete;
    TlsTransport& operator=(const TlsTransport&) = delete;

    void send(std::string_view bytes, const Deadline& deadline) override;
    std::size_t receive(char* buffer, std::size_t size, const Deadline& deadline) override;
    int descriptor() const override { return socket.descriptor(); }

private:
    struct Freer {
        void operator()(SSL_CTX* context) const;
        void operator()(SSL* session) const;
    };

    void prepare(const Endpoint& server, const NetworkUrl& url);
    void useKey(const std::string& file);
    void shakeHands(const Endpoint& server, const Deadline& deadline);
    /// Sends what the session has for the server.
    void flush(const Deadline& deadline);
    /// Takes what the server has for the session.
    void feed(const Deadline& deadline);

    SocketTransport socket;
    std::unique_ptr<SSL_CTX, Freer> context;
    std::unique_ptr<SSL, Freer> session;
    BIO* incoming{nullptr}; ///< the session's, as is the next one
    BIO* outgoing{nullptr};
};

} // namespace tessapi
