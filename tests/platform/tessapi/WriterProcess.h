#pragma once

#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace tessapi::contract {

/// A program of its own that writes into the store: StoreWriter.cpp. Killed and reaped by the destructor,
/// and killed by the machine when the thread that started it ends.
class WriterProcess {
public:
    /// Starts the writer with these arguments; throws std::system_error when it cannot.
    explicit WriterProcess(const std::vector<std::string>& arguments);
    ~WriterProcess();
    WriterProcess(const WriterProcess&) = delete;
    WriterProcess& operator=(const WriterProcess&) = delete;

    /// The next line that it printed; empty when it has ended.
    std::optional<std::string> readLine();

    /// Waits for its end and gives its exit code; minus the signal's number when a signal ended it.
    int wait();

    /// Ends it at whatever instruction it is.
    void kill();

private:
    struct Close {
        void operator()(std::FILE* stream) const { std::fclose(stream); }
    };

    pid_t pid{-1};
    std::unique_ptr<std::FILE, Close> output;
};

} // namespace tessapi::contract
