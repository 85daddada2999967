#pragma once

#include "testing/EndWithStarter.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace velk::testing {

/// A server that a test starts, its output in a file. It is killed with this object, and by the machine when
/// the thread that started it ends, so that nothing is left of a test that crashed.
///
/// Threads: one, which has to live as long as the server shall.
class ServerProcess {
public:
    /// `command[0]` is looked for in PATH.
    ServerProcess(std::vector<std::string> command, const std::filesystem::path& log) {
        std::vector<char*> words;
        for (std::string& word : command) {
            words.push_back(word.data());
        }
        words.push_back(nullptr);
        const pid_t parent = getpid();
        child = fork();
        if (child < 0) {
            throw std::system_error{errno, std::generic_category(), "fork"};
        }
        if (child == 0) {
            become(words.data(), log.c_str(), parent);
        }
    }
    ~ServerProcess() { end(SIGKILL); }
    ServerProcess(const ServerProcess&) = delete;
    ServerProcess& operator=(const ServerProcess&) = delete;

    pid_t pid() const { return child; }

    bool isRunning() {
        if (!ended) {
            ended = waitpid(child, nullptr, WNOHANG) == child;
        }
        return !ended;
    }

    void signal(int number) {
        if (isRunning()) {
            kill(child, number);
        }
    }

    /// Sends the signal and waits until the server is gone.
    void end(int number) {
        if (isRunning()) {
            kill(child, number);
            // A stopped process heeds nothing but SIGKILL.
            kill(child, SIGCONT);
            waitpid(child, nullptr, 0);
            ended = true;
        }
    }

private:
    [[noreturn]] static void become(char* const* words, const char* log, pid_t parent) {
        endWithStarter(parent);
        const int output = open(log, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
        const int input = open("/dev/null", O_RDONLY | O_CLOEXEC);
        dup2(input, STDIN_FILENO);
        dup2(output, STDOUT_FILENO);
        dup2(output, STDERR_FILENO);
        sigset_t none;
        sigemptyset(&none);
        sigprocmask(SIG_SETMASK, &none, nullptr);
        execvp(words[0], words);
        _exit(127);
    }

    pid_t child{-1};
    bool ended{false};
};

} // namespace velk::testing
