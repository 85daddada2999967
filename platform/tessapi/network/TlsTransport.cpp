#include "platform/tessapi/network/TlsTransport.h"

#include "platform/common/SecretFile.h"
#include "platform/tessapi/network/LinkError.h"

#include <arpa/inet.h>
#include <array>
#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>
#include <stdexcept>

namespace tessapi {

namespace {

std::string reason() {
    const auto code = ERR_get_error();
    ERR_clear_error();
    const char* text = ERR_reason_error_string(code);
    return text == nullptr ? "the encrypted connection failed" : text;
}

/// Asks nobody for the passphrase of a key: there may be nobody who sees the question.
int tellNoPassphrase(char* /*buffer*/, int /*size*/, int /*writes*/, void* wasAsked) {
    *static_cast<bool*>(wasAsked) = true;
    return -1;
}

/// `file` is for the message; the library tells no path.
void check(int result, const std::string& file) {
    if (result != 1) {
        throw LinkError{file + ": " + reason()};
    }
}

bool isAddress(const std::string& host) {
    std::array<unsigned char, sizeof(in6_addr)> address{};
    return inet_pton(AF_INET, host.c_str(), address.data()) == 1 ||
           inet_pton(AF_INET6, host.c_str(), address.data()) == 1;
}

} // namespace

void TlsTransport::Freer::operator()(SSL_CTX* context) const {
    SSL_CTX_free(context);
}

void TlsTransport::Freer::operator()(SSL* session) const {
    SSL_free(session);
}

TlsTransport::TlsTransport(const Endpoint& server, const NetworkUrl& url, const Deadline& deadline) :
    socket{server, deadline}, context{SSL_CTX_new(TLS_client_method())} {
    prepare(server, url);
    shakeHands(server, deadline);
}

TlsTransport::~TlsTransport() = default;

void TlsTransport::prepare(const Endpoint& server, const NetworkUrl& url) {
    ERR_clear_error();
    SSL_CTX_set_min_proto_version(context.get(), TLS1_2_VERSION);
    SSL_CTX_set_verify(context.get(), SSL_VERIFY_PEER, nullptr);
    if (url.caFile.empty()) {
        check(SSL_CTX_set_default_verify_paths(context.get()), "the certificates of the machine");
    } else {
        check(SSL_CTX_load_verify_locations(context.get(), url.caFile.c_str(), nullptr), url.caFile);
    }
    if (!url.certFile.empty()) {
        check(SSL_CTX_use_certificate_chain_file(context.get(), url.certFile.c_str()), url.certFile);
        useKey(url.keyFile);
    }
    session.reset(SSL_new(context.get()));
    incoming = BIO_new(BIO_s_mem());
    outgoing = BIO_new(BIO_s_mem());
    SSL_set_bio(session.get(), incoming, outgoing);
    if (isAddress(server.host)) {
        check(X509_VERIFY_PARAM_set1_ip_asc(SSL_get0_param(session.get()), server.host.c_str()), server.host);
    } else {
        check(SSL_set1_host(session.get(), server.host.c_str()), server.host);
        check(static_cast<int>(SSL_set_tlsext_host_name(session.get(), server.host.c_str())), server.host);
    }
}

void TlsTransport::useKey(const std::string& file) {
    try {
        velk::common::SecretFile::checkAccess(file);
    } catch (const std::runtime_error& refusal) {
        throw LinkError{refusal.what()};
    }
    bool isLocked = false;
    SSL_CTX_set_default_passwd_cb(context.get(), tellNoPassphrase);
    SSL_CTX_set_default_passwd_cb_userdata(context.get(), &isLocked);
    const int result = SSL_CTX_use_PrivateKey_file(context.get(), file.c_str(), SSL_FILETYPE_PEM);
    SSL_CTX_set_default_passwd_cb_userdata(context.get(), nullptr);
    if (isLocked) {
        ERR_clear_error();
        throw LinkError{file + ": the key has a passphrase, which nobody can be asked for"};
    }
    check(result, file);
}

void TlsTransport::shakeHands(const Endpoint& server, const Deadline& deadline) {
    for (;;) {
        const int result = SSL_connect(session.get());
        const int error = SSL_get_error(session.get(), result);
        flush(deadline);
        if (result == 1) {
            return;
        }
        if (error == SSL_ERROR_WANT_READ) {
            feed(deadline);
        } else if (error != SSL_ERROR_WANT_WRITE) {
            const auto verdict = SSL_get_verify_result(session.get());
            throw LinkError{
                server.text() + ": " +
                (verdict == X509_V_OK ? reason() : std::string{X509_verify_cert_error_string(verdict)})};
        }
    }
}

void TlsTransport::flush(const Deadline& deadline) {
    std::array<char, 16384> chunk{};
    for (;;) {
        const int size = BIO_read(outgoing, chunk.data(), static_cast<int>(chunk.size()));
        if (size <= 0) {
            return;
        }
        socket.send({chunk.data(), static_cast<std::size_t>(size)}, deadline);
    }
}

void TlsTransport::feed(const Deadline& deadline) {
    std::array<char, 16384> chunk{};
    const auto size = socket.receive(chunk.data(), chunk.size(), deadline);
    BIO_write(incoming, chunk.data(), static_cast<int>(size)); // memory takes all of it
}

void TlsTransport::send(std::string_view bytes, const Deadline& deadline) {
    ERR_clear_error();
    std::size_t written = 0;
    if (!bytes.empty() && SSL_write_ex(session.get(), bytes.data(), bytes.size(), &written) != 1) {
        throw LinkError{"the connection broke: " + reason()};
    }
    flush(deadline);
}

std::size_t TlsTransport::receive(char* buffer, std::size_t size, const Deadline& deadline) {
    for (;;) {
        ERR_clear_error();
        std::size_t received = 0;
        const int result = SSL_read_ex(session.get(), buffer, size, &received);
        const int error = SSL_get_error(session.get(), result);
        flush(deadline);
        if (result == 1) {
            return received;
        }
        if (error == SSL_ERROR_ZERO_RETURN) {
            throw LinkError{"the server closed the connection"};
        }
        if (error != SSL_ERROR_WANT_READ) {
            throw LinkError{"the connection broke: " + reason()};
        }
        feed(deadline);
    }
}

} // namespace tessapi
