#include "tests/platform/tessapi/WriterProcess.h"

#include "testing/EndWithStarter.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace tessapi::contract {

WriterProcess::WriterProcess(const std::vector<std::string>& arguments) {
    std::vector<std::string> texts{VELK_STORE_WRITER};
    texts.insert(texts.end(), arguments.begin(), arguments.end());
    std::vector<char*> pointers;
    for (std::string& text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);

    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        throw std::system_error{errno, std::generic_category(), "pipe"};
    }
    output.reset(fdopen(ends[0], "r"));
    const pid_t starter = getpid();
    pid = fork();
    if (pid == 0) {
        velk::testing::endWithStarter(starter);
        dup2(ends[1], STDOUT_FILENO);
        execv(pointers[0], pointers.data());
        _exit(127);
    }
    close(ends[1]);
    if (pid < 0) {
        throw std::system_error{errno, std::generic_category(), VELK_STORE_WRITER};
    }
}

WriterProcess::~WriterProcess() {
    if (pid > 0) {
        kill();
        wait();
    }
}

std::optional<std::string> WriterProcess::readLine() {
    std::string line;
    for (int byte = std::fgetc(output.get()); byte != EOF; byte = std::fgetc(output.get())) {
        if (byte == '\n') {
            return line;
        }
        line.push_back(static_cast<char>(byte));
    }
    return std::nullopt;
}

int WriterProcess::wait() {
    int status = 0;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    pid = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

void WriterProcess::kill() {
    ::kill(pid, SIGKILL);
}

} // namespace tessapi::contract
