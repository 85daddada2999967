#include "kit/Trial.h"

#include "kit/Board.h"
#include "kit/Child.h"
#include "kit/Reporter.h"
#include "kit/Session.h"
#include "kit/ShellCommand.h"
#include "kit/Steps.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <iostream>
#include <poll.h>
#include <stdexcept>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace velk::kit {

namespace {

constexpr int LOOK_MS = 20;
constexpr std::size_t MOST_CHILDREN = 12;
constexpr std::array<int, 3> INTERRUPTS{SIGINT, SIGTERM, SIGHUP};

volatile std::sig_atomic_t isInterrupted = 0; // of the one handler that a process can have

void onInterrupt(int /*signal*/) {
    isInterrupted = 1;
}

void setInterruptHandler(void (*handler)(int)) {
    struct sigaction action {};
    action.sa_handler = handler;
    for (const int signal : INTERRUPTS) {
        sigaction(signal, &action, nullptr);
    }
}

/// Since when each thread of the child is in the call that it is in.
class Pulse {
public:
    /// The slot of a call that takes longer than it may, or `NO_SLOT`.
    std::int32_t hangingOn(const Board& board, Milliseconds patience) {
        for (std::size_t i = 0; i < Board::SLOTS; ++i) {
            const Board::Slot& slot = board.slots[i];
            const std::uint64_t moves = slot.moves;
            if (moves != last[i].moves || !slot.busy) {
                last[i] = {moves, now()};
                continue;
            }
            const std::uint32_t own = slot.patienceMs;
            if (now() - last[i].since > (own != 0 ? Milliseconds{own} : patience)) {
                return static_cast<std::int32_t>(i);
            }
        }
        return Board::NO_SLOT;
    }

private:
    struct Beat {
        std::uint64_t moves{0};
        std::chrono::steady_clock::time_point since{now()};
    };
    std::array<Beat, Board::SLOTS> last;
};

bool isCallForAPath(const std::string& operation) {
    return operation == "buildWrapper" || operation == "read" || operation == "write" ||
           operation == "isReadable";
}

/// The slot of the call that has ended the child, as far as that is known.
std::int32_t slotOf(const Board& board) {
    if (board.crashed != Board::NO_SLOT) {
        return board.crashed;
    }
    for (std::size_t i = 0; i < Board::SLOTS; ++i) {
        if (board.slots[i].busy) {
            return static_cast<std::int32_t>(i);
        }
    }
    return Board::NO_SLOT;
}

std::string howItEnded(int status) {
    if (WIFSIGNALED(status)) {
        const char* const name = sigabbrev_np(WTERMSIG(status));
        return std::string{"the end of the process by SIG"} + (name == nullptr ? "?" : name);
    }
    return "the end of the process with exit code " + std::to_string(WEXITSTATUS(status));
}

} // namespace

/// One child: its process and the reading end of its pipe.
struct Trial::Child {
    pid_t process{-1};
    int pipe{-1};
    std::string unread; ///< the beginning of a line whose end has not come
};

Trial::Trial(Options asked, OnFinding onFinding) :
    options{std::move(asked)}, tell{std::move(onFinding)}, board{Board::make()} {}

std::uint64_t Trial::wrappers() const {
    return board.wrappers;
}

void Trial::run() {
    setInterruptHandler(onInterrupt);
    for (std::size_t children = 0; children < MOST_CHILDREN; ++children) {
        const End end = runOneChild();
        const bool goesOn = isInterrupted == 0 && goOnAfter(end);
        bringDeviceBack();
        if (isInterrupted != 0) {
            throw std::runtime_error{"interrupted"};
        }
        if (!goesOn) {
            break;
        }
    }
    tellOfTheRest();
}

Trial::End Trial::runOneChild() {
    for (Board::Slot& slot : board.slots) {
        slot.busy = false;
    }
    board.crashed = Board::NO_SLOT;
    board.noteChange({});
    hasEnded = false;
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        throw std::system_error{errno, std::generic_category(), "pipe"};
    }
    std::cout.flush();
    Child child;
    child.process = fork();
    if (child.process < 0) {
        throw std::system_error{errno, std::generic_category(), "fork"};
    }
    if (child.process == 0) {
        setInterruptHandler(SIG_DFL);
        close(ends[0]);
        runChild(options, board, ends[1], firstStep);
    }
    close(ends[1]);
    child.pipe = ends[0];
    End end = watch(child);
    close(child.pipe);
    return end;
}

Trial::End Trial::watch(Child& child) {
    Pulse pulse;
    int status = 0;
    while (waitpid(child.process, &status, WNOHANG) == 0) {
        pollfd source{child.pipe, POLLIN, 0};
        poll(&source, 1, LOOK_MS);
        if (isInterrupted != 0) {
            kill(child.process, SIGKILL);
        }
        if ((source.revents & POLLIN) != 0) {
            drain(child);
        }
        const std::int32_t hanging = pulse.hangingOn(board, options.patience);
        if (hanging != Board::NO_SLOT) {
            kill(child.process, SIGKILL);
            waitpid(child.process, &status, 0);
            drain(child);
            return endAt(hanging, "none within " + textOf(options.patience));
        }
    }
    drain(child);
    if (hasEnded && WIFEXITED(status) && WEXITSTATUS(status) == 0) {
        return {true, {}, {}, {}};
    }
    return endAt(slotOf(board), howItEnded(status));
}

/// Takes what is in the pipe and does not wait for more.
void Trial::drain(Child& child) {
    pollfd source{child.pipe, POLLIN, 0};
    while (poll(&source, 1, 0) > 0 && (source.revents & POLLIN) != 0) {
        std::array<char, 65536> chunk{};
        const ssize_t length = read(child.pipe, chunk.data(), chunk.size());
        if (length <= 0) {
            return;
        }
        child.unread.append(chunk.data(), static_cast<std::size_t>(length));
        for (std::size_t end = 0; (end = child.unread.find('\n')) != std::string::npos;) {
            if (const auto record = decode(std::string_view{child.unread}.substr(0, end))) {
                take(*record);
            }
            child.unread.erase(0, end + 1);
        }
    }
}

void Trial::take(const Record& record) {
    switch (record.kind) {
    case Record::Kind::Finding:
        add(record.finding);
        break;
    case Record::Kind::Step:
        step = record.number;
        break;
    case Record::Kind::Points:
        servedPoints = std::max(servedPoints, record.number);
        break;
    case Record::Kind::End:
        hasEnded = true;
        break;
    }
}

Trial::End Trial::endAt(std::int32_t slot, std::string how) const {
    if (slot == Board::NO_SLOT) {
        return {false, std::move(how), {}, {}};
    }
    const Board::Slot& place = board.slots.at(static_cast<std::size_t>(slot));
    return {false, std::move(how), place.operation.data(), place.path.data()};
}

bool Trial::goOnAfter(const End& end) {
    if (end.isComplete) {
        return false;
    }
    const Step& last = steps().at(step);
    const std::string what = end.operation.empty() ? last.name : end.operation;
    add({Finding::Severity::Error, end.path.empty() ? last.name : end.path,
         what + " to return, during " + last.name, end.how + board.changed.data()});
    if (hasEnded) {
        return false;
    }
    if (isCallForAPath(end.operation)) {
        firstStep = step;
        return options.avoided.insert(end.path).second;
    }
    firstStep = step + 1;
    return !last.isPreparation && firstStep < steps().size();
}

void Trial::add(const Finding& finding) {
    // A child that takes over from another repeats what it finds on its way to where that one ended.
    if (!told.emplace(finding.severity, finding.path, finding.expected).second) {
        return;
    }
    found = found || finding.severity != Finding::Severity::Note;
    if (++alike[finding.expected] <= MOST_ALIKE) {
        tell(finding);
    }
}

/// What a child has taken away and cannot bring back any more.
void Trial::bringDeviceBack() {
    if (board.isDeviceAway.exchange(false) && !runShellCommand(options.resumeCommand)) {
        add({Finding::Severity::Error, "--resume-command", "a command that succeeds",
             "\"" + options.resumeCommand + "\" failed"});
    }
}

void Trial::tellOfTheRest() const {
    for (const auto& [expected, count] : alike) {
        if (count > MOST_ALIKE) {
            tell({Finding::Severity::Note, "more of the same", expected,
                  std::to_string(count - MOST_ALIKE) + " times otherwise"});
        }
    }
}

} // namespace velk::kit
