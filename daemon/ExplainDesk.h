#pragma once

#include "platform/common/Clock.h"
#include "platform/common/Mutex.h"
#include "platform/tessapi/ITessAccessor.h"
#include "powerdistribution/core/PointDescription.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <ostream>
#include <string>

namespace velk::daemon {

/// Answers programs that ask what is behind a data point, by way of the store.
///
/// A question is {"id":"…","path":"Inputs.1.Measure.Voltage","forMs":2000}, written into the
/// channel "Daemon.ExplainRequest" of the daemon's own device; the answer to it is written into
/// "Daemon.ExplainAnswer"; see `listenForQuestions`. Nothing is done while nobody asks.
///
/// Threads: any; questions come on the store's client thread, which inherits the signals that the thread
/// that calls `open` blocks.
class ExplainDesk {
public:
    using Opener = std::function<std::unique_ptr<tessapi::ITessAccessor>()>;
    using Describe = std::function<velk::powerdistribution::PointDescription(const std::string& path)>;

    static constexpr const char* REQUEST = "Daemon.ExplainRequest";
    static constexpr const char* ANSWER = "Daemon.ExplainAnswer";

    /// `opener` makes the client of the store and may throw. `errors` must outlive this object.
    ExplainDesk(Opener opener, std::ostream& errors);

    /// Waits for an answer that is being given.
    ~ExplainDesk();
    ExplainDesk(const ExplainDesk&) = delete;
    ExplainDesk& operator=(const ExplainDesk&) = delete;

    /// Makes the channels and listens, unless it does already. A store that fails is reported in one line,
    /// once until one could be opened. Never throws a standard exception.
    void open() VELK_EXCLUDES(mutex);

    /// From now on `describe` knows the answers; empty for nobody, which is answered too. Returns when the
    /// one before is not asked any more.
    void setDescribe(Describe describe) VELK_EXCLUDES(describing);

private:
    void listen() VELK_REQUIRES(mutex);
    std::optional<nlohmann::ordered_json> answerTo(const nlohmann::ordered_json& question)
        VELK_EXCLUDES(describing);

    const Opener opener;
    std::ostream& errors;
    velk::common::Mutex mutex;
    bool failing VELK_GUARDED_BY(mutex){false};
    velk::common::Mutex describing;
    Describe describe VELK_GUARDED_BY(describing);
    /// Last: its client thread uses the others. Null until it could be opened.
    std::unique_ptr<tessapi::ITessAccessor> store VELK_GUARDED_BY(mutex);
};

} // namespace velk::daemon
