#pragma once

#include "kit/Finding.h"
#include "kit/Options.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <tuple>

namespace velk::kit {

struct Board;
struct Record;

/// Tries a plug-in in children, so that whatever it does ends no more than a child: one that dies or hangs is
/// a finding, and another child goes on without the path that ended it.
///
/// Threads: one, and the process must have no other, since it forks.
class Trial {
public:
    using OnFinding = std::function<void(const Finding&)>;

    /// Of findings that expect the same, so many are told; the rest is counted in a note at the end.
    static constexpr std::size_t MOST_ALIKE = 8;

    /// `onFinding` gets each finding once, as it comes.
    Trial(Options asked, OnFinding onFinding);

    /// Throws std::runtime_error "interrupted" when SIGINT, SIGTERM or SIGHUP has come, with the device back.
    void run();

    /// Of all children together.
    std::size_t points() const { return servedPoints; }
    std::uint64_t wrappers() const;
    /// Any error or warning.
    bool hasFindings() const { return found; }

private:
    struct Child;

    /// How a child ended.
    struct End {
        bool isComplete{false}; ///< as it should
        std::string how;        ///< what came instead
        std::string operation;  ///< of the call in which it ended; empty for none
        std::string path;
    };

    End runOneChild();
    End watch(Child& child);
    void drain(Child& child);
    void take(const Record& record);
    End endAt(std::int32_t slot, std::string how) const;
    /// False when no further child can find out more.
    bool goOnAfter(const End& end);
    void add(const Finding& finding);
    void bringDeviceBack();
    void tellOfTheRest() const;

    Options options;
    const OnFinding tell;
    Board& board;
    std::set<std::tuple<Finding::Severity, std::string, std::string>> told;
    std::map<std::string, std::size_t> alike; ///< findings by what was expected
    std::size_t servedPoints{0};
    std::size_t step{0};      ///< that the present child has begun
    std::size_t firstStep{0}; ///< that the present child tries, behind the preparations
    bool hasEnded{false};     ///< the present child has come to its end
    bool found{false};
};

} // namespace velk::kit
