#include "kit/Child.h"

#include "kit/Steps.h"

#include <csignal>
#include <sys/prctl.h>
#include <unistd.h>

namespace velk::kit {

namespace {

/// False when nothing that follows can be tried.
bool runStep(const Step& step, Session& session) {
    bool goesOn = false;
    const auto failure = failureOf([&] { goesOn = step.run(session); });
    if (failure) {
        session.report.error(step.name, "no exception", *failure);
        return !step.isPreparation;
    }
    return goesOn;
}

} // namespace

void runChild(const Options& options, Board& board, int writeEnd, std::size_t firstStep) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    dup2(STDERR_FILENO, STDOUT_FILENO); // what the plug-in prints is no finding
    noteCrashesOn(board);
    Reporter report{writeEnd};
    // Never destroyed: a plug-in that cannot be let go must not get another chance to end this process.
    auto& session = *new Session{options, board, report};
    for (std::size_t i = 0; i < steps().size(); ++i) {
        const Step& step = steps()[i];
        if (!step.isPreparation && i < firstStep) {
            continue;
        }
        report.send({Record::Kind::Step, {}, i});
        if (!runStep(step, session)) {
            break;
        }
    }
    report.send({Record::Kind::End, {}, 0});
    _exit(0);
}

} // namespace velk::kit
