#pragma once

#include <functional>

namespace velk::powerdistribution {

/// One state of a state machine: which one it is, and the action that does its work and names the next state.
/// States are process-wide constants and are compared by identity.
template <typename Fsm, typename Context>
class State {
public:
    using Action = std::function<const State&(Context&)>;

    State(Fsm stateId, Action stateAction) : identity{stateId}, action{std::move(stateAction)} {}
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    Fsm id() const { return identity; }

    /// An empty action throws std::bad_function_call.
    const State& run(Context& context) const { return action(context); }

private:
    Fsm identity;
    Action action;
};

} // namespace velk::powerdistribution
