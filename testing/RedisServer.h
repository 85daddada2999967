#pragma once

#include "testing/Certificate.h"
#include "testing/FreePort.h"
#include "testing/RespConnection.h"
#include "testing/ServerProcess.h"
#include "testing/TemporaryDirectory.h"

#include <chrono>
#include <csignal>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace velk::testing {

/// A private Redis server on a port of 127.0.0.1 and on a Unix socket, with a folder of its own; killed with
/// this object. Whatever its users and certificates, the test itself gives orders to it through the socket.
///
/// Example:
///     RedisServer server{{.appendOnly = true}};
///     server.stop();
///     server.start();
///     EXPECT_EQ(server.command({"DBSIZE"}), "1");
///
/// Threads: one, which has to live as long as the server shall.
class RedisServer {
public:
    struct Options {
        /// Each write is in a file before its answer, so that it outlives the process.
        bool appendOnly{false};
        /// The only user that may do anything; with a password and no user it is that of the default user.
        std::string user{};
        std::string password{};
        /// The port speaks TLS with the certificate `certificate()`.
        bool tls{false};
        bool sentinel{false};
        /// 0: any that is free.
        int port{0};
        /// More lines of the configuration file.
        std::vector<std::string> lines{};
    };

    RedisServer() : RedisServer(Options{}) {}
    explicit RedisServer(Options wanted) : options{std::move(wanted)} {
        if (options.tls) {
            ownCertificate.emplace(directory.path(), "server");
        }
        for (int attempt = 1; !process; ++attempt) {
            portNumber = options.port != 0 ? options.port : freePort();
            writeConfiguration();
            try {
                start();
            } catch (const std::runtime_error&) {
                // Another program may have taken the port between the look at it and the start.
                process.reset();
                if (options.port != 0 || attempt == ATTEMPTS) {
                    throw;
                }
            }
        }
    }

    int port() const { return portNumber; }
    /// "127.0.0.1:PORT".
    std::string address() const { return "127.0.0.1:" + std::to_string(portNumber); }
    std::filesystem::path socket() const { return directory / "redis.sock"; }
    const std::filesystem::path& folder() const { return directory.path(); }
    const Certificate& certificate() const { return ownCertificate.value(); }
    pid_t pid() const { return process.value().pid(); }

    /// The answer as text, see RespConnection::command.
    std::string command(const std::vector<std::string>& words) const {
        RespConnection connection{socket()};
        if (!options.user.empty() || !options.password.empty()) {
            connection.command({"AUTH", "harness", "harness"});
        }
        return connection.command(words);
    }

    /// What `INFO` says of `field`; empty for a field that there is not.
    std::string info(const std::string& field) const {
        const std::string text = "\r\n" + command({"INFO", "everything"});
        const std::size_t start = text.find("\r\n" + field + ":");
        if (start == std::string::npos) {
            return {};
        }
        const std::size_t value = start + 2 + field.size() + 1;
        return text.substr(value, text.find("\r\n", value) - value);
    }

    /// Starts the server again, on the same port, with the data that it had if those were in a file. Returns
    /// when it answers.
    void start() {
        std::filesystem::remove(socket());
        std::vector<std::string> words{"redis-server", directory / "redis.conf"};
        if (options.sentinel) {
            words.emplace_back("--sentinel");
        }
        process.emplace(words, logFile());
        await("the server's answer", [this] { return !process->isRunning() || command({"PING"}) == "PONG"; });
        if (!process->isRunning()) {
            throw std::runtime_error{"the server ended at its start:\n" + log()};
        }
    }

    /// As a crash does it.
    void stop() { process.value().end(SIGKILL); }

    /// Removes the data of a server that was stopped.
    void forget() const {
        std::filesystem::remove_all(directory / "appendonlydir");
        std::filesystem::remove(directory / "dump.rdb");
    }

    /// From here on the server takes connections and answers nothing.
    void pause() { process.value().signal(SIGSTOP); }
    void resume() { process.value().signal(SIGCONT); }

    /// From here on the server refuses what needs memory.
    void refuseMemory() const { command({"CONFIG", "SET", "maxmemory", "1"}); }
    void grantMemory() const { command({"CONFIG", "SET", "maxmemory", "0"}); }

    std::string log() const {
        std::ifstream file{logFile()};
        return {std::istreambuf_iterator<char>{file}, {}};
    }

    /// Asks until the answer is yes; a question that fails counts as no. Throws std::runtime_error that names
    /// `what` after half a minute.
    template <typename Question>
    static void await(const std::string& what, const Question& question) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds{30};
        std::string last;
        while (std::chrono::steady_clock::now() < end) {
            try {
                if (question()) {
                    return;
                }
            } catch (const std::exception& failure) {
                last = failure.what();
            }
            std::this_thread::sleep_for(std::chrono::milliseconds{2});
        }
        throw std::runtime_error{"waited in vain for " + what + ": " + last};
    }

private:
    static constexpr int ATTEMPTS = 5;

    std::filesystem::path logFile() const { return directory / "log"; }

    void writeConfiguration() const {
        std::ofstream file{directory / "redis.conf"};
        file << "bind 127.0.0.1\n"
             << "dir " << directory.path().string() << "\n"
             << "unixsocket " << socket().string() << "\n"
             << "unixsocketperm 700\n"
             << (options.tls ? "port 0\ntls-port " : "port ") << portNumber << "\n";
        if (!options.sentinel) {
            // With the default of appendfsync an answer may go out before the write.
            file << "save \"\"\nappendonly " << (options.appendOnly ? "yes" : "no") << "\nappendfsync no\n"
                 << "repl-diskless-sync yes\nrepl-diskless-sync-delay 0\n";
        }
        if (options.tls) {
            file << "tls-cert-file " << certificate().file().string() << "\n"
                 << "tls-key-file " << certificate().key().string() << "\n"
                 << "tls-ca-cert-file " << certificate().file().string() << "\n"
                 << "tls-auth-clients no\n";
        }
        writeUsers(file);
        for (const std::string& line : options.lines) {
            file << line << "\n";
        }
    }

    void writeUsers(std::ofstream& file) const {
        if (options.user.empty() && options.password.empty()) {
            return;
        }
        file << "user harness on >harness ~* &* +@all\n";
        if (!options.user.empty()) {
            file << "user default off\n";
        }
        file << "user " << (options.user.empty() ? "default" : options.user) << " on \">" << options.password
             << "\" ~* &* +@all\n";
    }

    Options options;
    TemporaryDirectory directory;
    std::optional<Certificate> ownCertificate;
    int portNumber{0};
    std::optional<ServerProcess> process; // ends before its folder goes
};

} // namespace velk::testing
