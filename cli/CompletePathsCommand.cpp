#include "cli/CompletePathsCommand.h"

#include "cli/OpenStore.h"
#include "cli/StoreView.h"

#include <csignal>
#include <set>
#include <sys/time.h>
#include <unistd.h>

namespace velk::cli {

namespace {

/// Ends the program, well and silently, unless it is destroyed in time.
class Deadline {
public:
    explicit Deadline(long microseconds) {
        std::signal(SIGALRM, [](int) { _exit(0); });
        const itimerval once{{0, 0}, {0, microseconds}};
        setitimer(ITIMER_REAL, &once, nullptr);
    }
    ~Deadline() {
        const itimerval never{};
        setitimer(ITIMER_REAL, &never, nullptr);
        std::signal(SIGALRM, SIG_DFL);
    }
    Deadline(const Deadline&) = delete;
    Deadline& operator=(const Deadline&) = delete;
};

constexpr long LONGEST_WAIT_US = 500'000;

/// Paths as they are typed, name by name.
class Candidates {
public:
    explicit Candidates(const std::string& typed) : word{typed} {}

    void add(const std::string& path) {
        if (path.empty() || !path.starts_with(word)) {
            return;
        }
        const std::size_t dot = path.find('.', word.size());
        found.insert(dot == std::string::npos ? path : path.substr(0, dot + 1));
    }

    void print(std::ostream& out) const {
        for (const std::string& candidate : found) {
            out << candidate << "\n";
        }
    }

private:
    const std::string& word;
    std::set<std::string> found;
};

void addParts(const StoreView& view, Candidates& candidates) {
    for (const StoreView::Branch& branch : view.branches()) {
        if (branch.equipment) {
            candidates.add(branch.path);
        }
    }
}

void addActions(const StoreView& view, const std::string& part, Candidates& candidates) {
    const StoreView::Branch& branch = view.requireBranch(part);
    for (std::size_t i = branch.firstPoint; i < branch.firstPoint + branch.pointCount; ++i) {
        const Point& point = view.points()[i];
        if (point.isAction()) {
            candidates.add(point.name.substr(point.name.find('.') + 1));
        }
    }
}

void addPoints(const StoreView& view, bool settingsOnly, const std::string& word, Candidates& candidates) {
    for (const Point& point : view.points()) {
        const StoreView::Branch* branch = view.branch(point.deviceId);
        const bool isHidden = branch != nullptr && branch->hidden && !word.starts_with("Daemon");
        if (!isHidden && (point.isSetting() || !settingsOnly)) {
            candidates.add(point.path);
        }
    }
}

void answer(Surroundings& surroundings, const PathQuestion& question) {
    const auto store = openStore(surroundings.store, false);
    const StoreView view{store->browser().snapshot()};
    Candidates candidates{question.word};
    if (question.kind == "part") {
        addParts(view, candidates);
    } else if (question.kind == "action") {
        addActions(view, question.part, candidates);
    } else {
        addPoints(view, question.kind == "setting", question.word, candidates);
    }
    candidates.print(surroundings.out);
}

} // namespace

ExitCode runCompletePaths(Surroundings& surroundings, const PathQuestion& question) {
    const Deadline deadline{LONGEST_WAIT_US};
    try {
        answer(surroundings, question);
    } catch (const std::exception&) { // NOLINT(bugprone-empty-catch)
        // No candidates: whoever types the command will be told what is wrong.
    }
    return ExitCode::Done;
}

} // namespace velk::cli
