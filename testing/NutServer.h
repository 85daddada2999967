#pragma once

#include "testing/TemporaryDirectory.h"

#include <array>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <vector>

namespace velk::testing {

/// A private device server on loopback with its drivers, see testing/nut/upsd-fixture.sh; ended with this
/// object, or with this process if that is killed.
///
/// Example:
///     NutServer server{{"u1=" + NutServer::demoFile("ups-1ph.dev")}};
///     connectTo("127.0.0.1", server.port());
///     server.driver("u1", "kill");
///
class NutServer {
public:
    /// Each device is "NAME=FILE" for the real dummy-ups or "NAME=PROGRAM:FILE" for another driver.
    /// `environment` goes before the script, such as "MAXAGE=5".
    explicit NutServer(const std::vector<std::string>& devices, const std::string& environment = "") {
        try {
            guard = guarded();
            portNumber = std::stoi(start(devices, environment));
        } catch (...) {
            stop();
            throw;
        }
    }
    ~NutServer() { stop(); }
    NutServer(const NutServer&) = delete;
    NutServer& operator=(const NutServer&) = delete;

    static std::string demoFile(const std::string& name) {
        return std::string{VELK_SOURCE_DIR} + "/plugins/nut/demo/" + name;
    }

    int port() const { return portNumber; }
    static constexpr std::string_view USER = "velk";
    static constexpr std::string_view PASSWORD = "secret";

    /// "start", "stop" or "kill".
    void driver(const std::string& name, const std::string& verb) { run("driver", name + " " + verb); }
    /// "start" or "stop".
    void server(const std::string& verb) { run("server", verb); }

    /// The shell command that does the same from another process.
    std::string command(const std::string& verb, const std::string& arguments) const {
        return std::string{VELK_SOURCE_DIR} + "/testing/nut/upsd-fixture.sh " + verb + " " +
               directory.string() + " " + arguments;
    }

    /// A line to the test driver of `name`, and its answer.
    std::string control(const std::string& name, const std::string& line) const {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        const std::string path = (directory / "run" / (name + ".control")).string();
        path.copy(address.sun_path, sizeof address.sun_path - 1);
        const int connection = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        const std::string text = line + "\n";
        std::string answer;
        if (connect(connection, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
            send(connection, text.data(), text.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(text.size())) {
            std::array<char, 65536> chunk{};
            while (answer.empty() || answer.back() != '\n') {
                const ssize_t received = recv(connection, chunk.data(), chunk.size(), 0);
                if (received <= 0) {
                    break;
                }
                answer.append(chunk.data(), static_cast<std::size_t>(received));
            }
        }
        close(connection);
        if (answer.empty()) {
            throw std::runtime_error{"the test driver of " + name + " does not answer"};
        }
        answer.pop_back();
        return answer;
    }

private:
    using Pipe = std::unique_ptr<FILE, int (*)(FILE*)>;

    static Pipe open(const std::string& line, const char* mode) {
        Pipe pipe{popen(line.c_str(), mode), [](FILE* file) { return pclose(file); }};
        if (!pipe) {
            throw std::runtime_error{"cannot run " + line};
        }
        return pipe;
    }

    /// Ends everything when nobody has the other end of the pipe any more. The server and its drivers leave
    /// the process that starts them, so the machine cannot do that.
    Pipe guarded() const {
        // What a shell starts in the background has another standard input.
        return open("exec 3<&0; setsid sh -c 'cat <&3; exec " + command("stop", "") + "' >/dev/null 2>&1 &",
                    "we");
    }

    std::string start(const std::vector<std::string>& devices, const std::string& environment) {
        std::string arguments = "auto";
        for (const std::string& device : devices) {
            arguments += " '" + device + "'";
        }
        return run("start", arguments, environment);
    }

    void stop() {
        try {
            run("stop", "");
        } catch (const std::exception&) {
            // A destructor has nobody to tell.
        }
    }

    /// What the script prints; its failures are in the exception.
    std::string run(const std::string& verb, const std::string& arguments,
                    const std::string& environment = "") {
        const std::string line = "env " + environment + " " + command(verb, arguments) + " 2>&1";
        const Pipe pipe = open(line, "r");
        std::string output;
        std::array<char, 4096> chunk{};
        while (const std::size_t length = std::fread(chunk.data(), 1, chunk.size(), pipe.get())) {
            output.append(chunk.data(), length);
        }
        const bool isFailure = output.find("upsd-fixture:") != std::string::npos;
        if (isFailure) {
            throw std::runtime_error{output};
        }
        return output;
    }

    TemporaryDirectory folder;
    // Short, since a socket's whole name has to fit into 108 bytes.
    std::filesystem::path directory{folder.path()};
    Pipe guard{nullptr, nullptr}; // goes first
    int portNumber{0};
};

} // namespace velk::testing
