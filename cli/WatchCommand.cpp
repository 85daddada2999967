#include "cli/WatchCommand.h"

#include "cli/ChangeFeed.h"
#include "cli/ValueText.h"
#include "cli/Watcher.h"

#include <algorithm>
#include <chrono>

namespace velk::cli {

namespace {

using velk::common::Clock;

void sayWhatIsShown(Session& session, const WatchOptions& options) {
    session.err << "tess: watching " << session.store.browser().url();
    if (options.isConflating() && options.deadband > 0.0) {
        session.err << "; measures that move by less than " << plainText(qz::CValue{options.deadband})
                    << " % make no line";
    }
    session.err << "; Ctrl-C ends it\n" << std::flush;
}

} // namespace

ExitCode runWatch(Session& session, const WatchOptions& options) {
    ChangeFeed feed{session};
    Watcher watcher{session, options};
    sayWhatIsShown(session, options);
    const Clock::Duration deadline = momentIn(session, options.seconds);
    const Clock::Duration interval =
        options.isConflating()
            ? std::chrono::duration_cast<Clock::Duration>(std::chrono::duration<double>{options.interval})
            : Clock::Duration::zero();
    Clock::Duration nextLines = session.clock.now();
    for (;;) {
        const bool goesOn = feed.wait(watcher.hasChanges() ? std::min(nextLines, deadline) : deadline);
        for (const tessapi::ChannelWrite& write : feed.takeAll()) {
            watcher.take(write);
        }
        const bool ends = !goesOn || session.clock.now() >= deadline;
        if (watcher.hasChanges() && (ends || session.clock.now() >= nextLines)) {
            watcher.show();
            nextLines = session.clock.now() + interval;
        }
        if (ends || watcher.isFull()) {
            return ExitCode::Done;
        }
    }
}

} // namespace velk::cli
