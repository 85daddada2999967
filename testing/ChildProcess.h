#pragma once

#include "testing/EndWithStarter.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <fcntl.h>
#include <optional>
#include <poll.h>
#include <stdexcept>
#include <string>
#include <string_view>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <utility>
#include <vector>

namespace velk::testing {

/// A program that a test starts, with pipes on its three standard streams. It is killed when this object goes
/// and it still runs, and by the machine when the thread that started it ends.
///
/// Example:
///     ChildProcess program{{"/bin/tess", "status"}, {"TESS_URL=sqlite:/tmp/x/tess.db"}};
///     EXPECT_EQ(program.finish(), 0);
///     EXPECT_EQ(program.output(), "…");
///
/// Threads: one, which has to live as long as the program shall.
class ChildProcess {
public:
    /// `environment` is added to the test's own, or replaces what is there.
    explicit ChildProcess(const std::vector<std::string>& command,
                          const std::vector<std::string>& environment = {}) {
        const std::array<int, 2> in = makePipe();
        const std::array<int, 2> out = makePipe();
        const std::array<int, 2> err = makePipe();
        std::vector<std::string> variables = merged(environment);
        std::vector<std::string> words = command;
        std::vector<char*> argv = pointers(words);
        std::vector<char*> envp = pointers(variables);
        const pid_t starter = getpid();
        child = fork();
        if (child == 0) {
            endWithStarter(starter);
            dup2(in[0], STDIN_FILENO);
            dup2(out[1], STDOUT_FILENO);
            dup2(err[1], STDERR_FILENO);
            sigset_t none;
            sigemptyset(&none);
            sigprocmask(SIG_SETMASK, &none, nullptr);
            execve(argv[0], argv.data(), envp.data());
            _exit(127);
        }
        close(in[0]);
        close(out[1]);
        close(err[1]);
        input = in[1];
        streams = {Stream{out[0], {}}, Stream{err[0], {}}};
        if (child < 0) {
            throw std::system_error{errno, std::generic_category(), "fork"};
        }
    }

    ~ChildProcess() {
        if (!status) {
            kill(child, SIGKILL);
            waitpid(child, nullptr, 0);
        }
        closeInput();
        for (Stream& stream : streams) {
            close(stream.descriptor);
        }
    }
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    void signal(int number) const { kill(child, number); }
    pid_t pid() const { return child; }

    void write(std::string_view text) const {
        if (::write(input, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
            throw std::system_error{errno, std::generic_category(), "writing to the program"};
        }
    }
    void closeInput() {
        if (input >= 0) {
            close(std::exchange(input, -1));
        }
    }

    /// Reads until the standard output holds `text` so many times; false when it ends without, or after half
    /// a minute without a sign of life.
    bool awaitOutput(std::string_view text, int times = 1) { return await(streams[0], text, times); }
    bool awaitErrors(std::string_view text, int times = 1) { return await(streams[1], text, times); }

    /// Reads both streams to their end and gives the exit code; 128 and the signal's number for a program
    /// that a signal ended.
    int finish() {
        closeInput();
        while (readSome()) {
        }
        if (!status) {
            int raw = 0;
            waitpid(child, &raw, 0);
            status = WIFEXITED(raw) ? WEXITSTATUS(raw) : 128 + WTERMSIG(raw);
        }
        return *status;
    }

    const std::string& output() const { return streams[0].text; }
    const std::string& errors() const { return streams[1].text; }

private:
    struct Stream {
        int descriptor{-1};
        std::string text;
        bool ended{false};
    };

    static constexpr int PATIENCE_MS = 30'000;

    static std::array<int, 2> makePipe() {
        std::array<int, 2> ends{};
        if (pipe2(ends.data(), O_CLOEXEC) != 0) {
            throw std::system_error{errno, std::generic_category(), "pipe"};
        }
        return ends;
    }

    static std::vector<char*> pointers(std::vector<std::string>& texts) {
        std::vector<char*> result;
        for (std::string& text : texts) {
            result.push_back(text.data());
        }
        result.push_back(nullptr);
        return result;
    }

    static std::vector<std::string> merged(const std::vector<std::string>& environment) {
        std::vector<std::string> result = environment;
        for (char** variable = environ; *variable != nullptr; ++variable) {
            const std::string_view text{*variable};
            const std::string_view name = text.substr(0, text.find('=') + 1);
            bool replaced = false;
            for (const std::string& own : environment) {
                replaced = replaced || own.compare(0, name.size(), name) == 0;
            }
            if (!replaced) {
                result.emplace_back(text);
            }
        }
        return result;
    }

    static int countOf(std::string_view text, std::string_view part) {
        int count = 0;
        for (auto at = text.find(part); at != std::string_view::npos;
             at = text.find(part, at + part.size())) {
            ++count;
        }
        return count;
    }

    bool await(Stream& stream, std::string_view text, int times) {
        while (countOf(stream.text, text) < times) {
            if (!readSome()) {
                return false;
            }
        }
        return true;
    }

    /// False when both streams have ended, or nothing came for too long.
    bool readSome() {
        std::array<pollfd, 2> sources{{{streams[0].ended ? -1 : streams[0].descriptor, POLLIN, 0},
                                       {streams[1].ended ? -1 : streams[1].descriptor, POLLIN, 0}}};
        if ((streams[0].ended && streams[1].ended) ||
            poll(sources.data(), sources.size(), PATIENCE_MS) <= 0) {
            return false;
        }
        for (std::size_t i = 0; i < sources.size(); ++i) {
            if (sources[i].revents != 0) {
                std::array<char, 4096> buffer{};
                const ssize_t count = read(sources[i].fd, buffer.data(), buffer.size());
                streams[i].ended = count <= 0;
                streams[i].text.append(buffer.data(), count > 0 ? static_cast<std::size_t>(count) : 0);
            }
        }
        return true;
    }

    pid_t child{-1};
    int input{-1};
    std::array<Stream, 2> streams;
    std::optional<int> status;
};

} // namespace velk::testing
