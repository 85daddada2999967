#pragma once

#include "platform/tessapi/ITessAccessor.h"

#include <functional>
#include <memory>
#include <ostream>

namespace velk::daemon {

/// Says in the store whether somebody looks at the device, so that values are not taken for fresh when nobody
/// does.
///
/// While a manager runs, the channel "Daemon.Process" of the daemon's own device holds the mark of this
/// process (velk::common::ProcessMark); otherwise it is empty. A daemon that is killed leaves its mark, and
/// whoever reads it finds that the process is gone.
///
/// Threads: one at a time.
class LifeSign {
public:
    using Opener = std::function<std::unique_ptr<tessapi::ITessAccessor>()>;

    static constexpr const char* CHANNEL = "Daemon.Process";

    /// `opener` makes the client of the store and may throw. `errors` must outlive this object.
    LifeSign(Opener opener, std::ostream& errors);

    /// Never throws a standard exception; a store that fails costs a line on `errors`.
    void atWork() { say(true); }
    void atRest() { say(false); }

private:
    void say(bool working);

    Opener opener;
    std::ostream& errors;
};

} // namespace velk::daemon
