#include "cli/doctor/ProgramOutput.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace velk::cli {

namespace {

using ReadingClock = std::chrono::steady_clock;

/// A program with its standard output at the end of a pipe; gone at the latest with this object.
class StartedProgram {
public:
    explicit StartedProgram(const std::vector<std::string>& command) {
        std::array<int, 2> ends{};
        if (pipe2(ends.data(), O_CLOEXEC) != 0) {
            error = errno;
            return;
        }
        output = ends[0];
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
        posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
        std::vector<char*> words;
        for (const std::string& word : command) {
            words.push_back(const_cast<char*>(word.c_str())); // NOLINT: only read
        }
        words.push_back(nullptr);
        error = posix_spawn(&process, command.front().c_str(), &actions, nullptr, words.data(), environ);
        posix_spawn_file_actions_destroy(&actions);
        close(ends[1]);
    }
    ~StartedProgram() {
        if (output >= 0) {
            close(output);
        }
        if (process > 0) {
            kill(process, SIGKILL);
            waitpid(process, nullptr, 0);
        }
    }
    StartedProgram(const StartedProgram&) = delete;
    StartedProgram& operator=(const StartedProgram&) = delete;

    int startError() const { return error; }

    /// False when it has not ended by then.
    bool readUntil(ReadingClock::time_point end, std::string& text) const {
        std::array<char, 4096> part{};
        while (true) {
            const auto left =
                std::chrono::duration_cast<std::chrono::milliseconds>(end - ReadingClock::now());
            pollfd waiting{output, POLLIN, 0};
            if (left.count() <= 0 || poll(&waiting, 1, static_cast<int>(left.count())) == 0) {
                return false;
            }
            const ssize_t size = read(output, part.data(), part.size());
            if (size > 0) {
                text.append(part.data(), static_cast<std::size_t>(size));
            } else if (size == 0 || errno != EINTR) {
                return true;
            }
        }
    }

private:
    pid_t process{-1};
    int output{-1};
    int error{0};
};

} // namespace

std::string outputOf(const std::vector<std::string>& command, std::chrono::milliseconds longest,
                     std::string& failure) {
    const StartedProgram program{command};
    if (program.startError() != 0) {
        failure = command.front() + ": " + std::generic_category().message(program.startError());
        return "";
    }
    std::string text;
    if (!program.readUntil(ReadingClock::now() + longest, text)) {
        failure = command.front() + " has not ended in time";
        return "";
    }
    return text;
}

} // namespace velk::cli
