#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace tessapi::faults {

/// What the database asks of the disk, recorded and made to fail. It is put between the database and the
/// machine for the rest of the process, as the default file system of SQLite.
/// Threads: any.
class FaultDisk {
public:
    /// One thing that was done to a file, or a mark of the test.
    struct Event {
        enum class Kind { write, truncate, sync, remove, mark };

        Kind kind{Kind::mark};
        std::string file;       ///< without its folder
        std::int64_t offset{0}; ///< of a write; the size after a truncate; the number of a mark
        std::string bytes;
        bool durable{false};  ///< a removal that is on the disk at once
        std::int64_t atMs{0}; ///< by the steady clock
    };

    /// How calls fail.
    enum class Failure {
        none,
        error,      ///< any call, with an I/O error
        full,       ///< what takes space, with "disk is full"
        shortWrite, ///< writes, after half of the bytes, with "disk is full"
    };

    static FaultDisk& instance();

    /// Records from now on, or hands out what was recorded and stops.
    void record();
    std::vector<Event> recorded();
    void mark(std::int64_t number);

    /// Lets the call number `nth` from now on fail, counting those that `failure` concerns; with `forGood`
    /// also all after it, until `heal`. Only calls on files whose name begins with `file` count and fail.
    void failAt(int nth, Failure failure, bool forGood, const std::string& file = "");
    void heal();
    /// Whether a call has failed since `failAt`.
    bool hasFailed() const;

    /// Stops the process, as SIGSTOP does, in the next read of the calling thread.
    void stopInNextRead();

    struct State;

private:
    FaultDisk();

    std::unique_ptr<State> state;
};

} // namespace tessapi::faults
