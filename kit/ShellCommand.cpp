#include "kit/ShellCommand.h"

#include <array>
#include <csignal>
#include <spawn.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace velk::kit {

namespace {

constexpr std::chrono::milliseconds LOOK_FOR_END{5};

} // namespace

bool runShellCommand(const std::string& command) {
    std::string shell = "/bin/sh";
    std::string flag = "-c";
    std::string line = command;
    std::array<char*, 4> arguments{shell.data(), flag.data(), line.data(), nullptr};
    posix_spawn_file_actions_t actions{};
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, STDERR_FILENO, STDOUT_FILENO);
    pid_t child = 0;
    const int failure = posix_spawn(&child, shell.c_str(), &actions, nullptr, arguments.data(), ::environ);
    posix_spawn_file_actions_destroy(&actions);
    if (failure != 0) {
        return false;
    }
    const auto end = std::chrono::steady_clock::now() + COMMAND_PATIENCE;
    int status = -1;
    while (waitpid(child, &status, WNOHANG) == 0) {
        if (std::chrono::steady_clock::now() > end) {
            kill(child, SIGKILL);
            waitpid(child, &status, 0);
            break;
        }
        std::this_thread::sleep_for(LOOK_FOR_END);
    }
    return status == 0;
}

} // namespace velk::kit
