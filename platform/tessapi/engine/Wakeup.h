#pragma once

#include "platform/tessapi/engine/IBell.h"
#include "platform/tessapi/engine/SharedPage.h"

#include <chrono>
#include <cstdint>

namespace tessapi {

/// The bell of the listeners in all programs that share a page.
/// Threads: any, of any process.
class Wakeup final : public IBell {
public:
    /// `owner` outlives the object.
    explicit Wakeup(SharedPage& owner) : page{owner} {}

    /// After a commit. Without listeners it costs no call of the system.
    void signal() override;

    Ticket ticket() const override;

    /// A writer that was killed between its commit and its signal must not keep the news for ever, so
    /// `longest` should be short.
    void wait(Ticket taken, std::chrono::milliseconds longest) override;

private:
    SharedPage& page;
};

} // namespace tessapi
