#pragma once

#include "platform/common/Clock.h"
#include "powerdistribution/core/FsmState.h"
#include "powerdistribution/core/State.h"

#include <chrono>
#include <iostream>
#include <sstream>

namespace velk::powerdistribution {

/// How long a state that stays where it is waits before its action runs again. It is the only timing of the
/// state machine, and so the latency of an exit and of a loss of communication.
inline constexpr std::chrono::seconds STATE_RETRY_PAUSE{2};

namespace state_machine {

/// States that a loss of communication does not break off.
inline bool ignoresCommunicationLoss(FsmState state) {
    return state == FsmState::COMMUNICATION_LOST || state == FsmState::WAIT_COMMUNICATION_RECOVERY ||
           state == FsmState::STOP || state == FsmState::END;
}

/// One line, whole and at once, so that lines of other threads cannot cut it.
inline void printTransition(FsmState from, FsmState to) {
    std::ostringstream line;
    line << "PowerDistributionManager: Transition from " << to_string(from) << " to " << to_string(to)
         << "\n";
    std::cout << line.str() << std::flush;
}

/// The state after one pass. The loss of communication goes before the exit request, and both before the
/// action.
template <typename Context>
const State<FsmState, Context>& next(Context& context, const State<FsmState, Context>& state,
                                     const State<FsmState, Context>& lost,
                                     const State<FsmState, Context>& stop) {
    if (context.communicationLost && !ignoresCommunicationLoss(state.id())) {
        return lost;
    }
    bool requested = true;
    if (context.exitRequested.compare_exchange_strong(requested, false)) {
        return stop;
    }
    return state.run(context);
}

} // namespace state_machine

/// Runs the machine from `state` until it reaches END, on the caller's thread. `Context` has two atomic
/// booleans, `communicationLost` and `exitRequested`; a request is consumed by one pass. A state that makes
/// progress runs its successor at once; one that stays is run again after `STATE_RETRY_PAUSE`. Exceptions of
/// actions pass through.
template <typename Context>
void runStateMachine(Context& context, const State<FsmState, Context>*& state,
                     const State<FsmState, Context>& lost, const State<FsmState, Context>& stop,
                     velk::common::Clock& clock) {
    const State<FsmState, Context>* previous = state;
    while (state->id() != FsmState::END) {
        state = &state_machine::next(context, *state, lost, stop);
        if (state == previous) {
            clock.sleepFor(STATE_RETRY_PAUSE);
        } else {
            state_machine::printTransition(previous->id(), state->id());
        }
        previous = state;
    }
}

} // namespace velk::powerdistribution
