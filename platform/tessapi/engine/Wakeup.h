#pragma once

#include "platform/tessapi/engine/IBell.h"
#include "platform/tessapi/engine/SharedPage.h"

#include <chrono>
#include <cstdint>

namespace tessapi {

/// The bell of the listeners in all programs that share a page.
///
/// The word `waiting` there says who may sleep: nobody (0), those who wait by one object (its number), or
/// several (1, which is also what an earlier release puts there).
/// Threads: any, of any process.
class Wakeup final : public IBell {
public:
    /// `owner` outlives the object.
    explicit Wakeup(SharedPage& owner);

    /// After a commit. Without listeners it costs no call of the system.
    void signal() override;

    /// After a commit that is nothing to those who wait by this object; likewise.
    void signalOthers();

    /// After a commit that is no news to anybody.
    void count();

    Ticket ticket() const override;

    /// A writer that was killed between its commit and its signal must not keep the news for ever, so
    /// `longest` should be short.
    void wait(Ticket taken, std::chrono::milliseconds longest) override;

private:
    SharedPage& page;
    /// What tells those who wait by this object from all others: at random, since processes that do not see
    /// each other may share the page. If two were the same, one of them would hear of a change at the end of
    /// its sleep.
    const std::uint32_t self;
};

} // namespace tessapi
