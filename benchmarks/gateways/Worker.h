#pragma once

#include <array>
#include <cerrno>
#include <csignal>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <system_error>
#include <type_traits>
#include <unistd.h>

namespace velk::benchmarks {

/// A pipe for plain structures, from one process to another.
class Channel {
public:
    Channel() {
        if (pipe(ends.data()) != 0) {
            throw std::system_error{errno, std::generic_category(), "pipe"};
        }
    }

    template <typename T>
    void send(const T& message) const {
        static_assert(std::is_trivially_copyable_v<T>);
        if (write(ends[1], &message, sizeof message) != static_cast<ssize_t>(sizeof message)) {
            throw std::system_error{errno, std::generic_category(), "sending to a process"};
        }
    }

    /// Throws std::runtime_error when the other process has ended.
    template <typename T>
    T receive() const {
        T message;
        if (read(ends[0], &message, sizeof message) != static_cast<ssize_t>(sizeof message)) {
            throw std::runtime_error{"a process of the benchmark has ended"};
        }
        return message;
    }

    void closeReading() const { close(ends[0]); }
    void closeWriting() const { close(ends[1]); }

private:
    std::array<int, 2> ends{};
};

/// A process of its own that does each step it is told of and answers it. It ends with this object.
/// Threads: one.
template <typename Step, typename Result>
class Worker {
public:
    /// `body(steps, results)` runs in the new process, sends one result when it is ready, and receives steps
    /// until that throws.
    template <typename Body>
    explicit Worker(const Body& body) {
        child = fork();
        if (child < 0) {
            throw std::system_error{errno, std::generic_category(), "fork"};
        }
        if (child == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            steps.closeWriting();
            results.closeReading();
            body(steps, results);
            _exit(0);
        }
        steps.closeReading();
        results.closeWriting();
    }
    ~Worker() {
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
        steps.closeWriting();
        results.closeReading();
    }
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    void begin(const Step& step) const { steps.send(step); }
    Result result() const { return results.template receive<Result>(); }

private:
    Channel steps;
    Channel results;
    pid_t child{-1};
};

} // namespace velk::benchmarks
