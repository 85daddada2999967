#pragma once

#include "daemon/CommunicationJournal.h"
#include "daemon/ExplainDesk.h"
#include "daemon/HostFactsWriter.h"
#include "daemon/IHostedManager.h"
#include "daemon/LifeSign.h"
#include "daemon/LogJournal.h"
#include "daemon/StoreFeed.h"
#include "daemon/StoreWatch.h"
#include "daemon/Supervisor.h"
#include "daemon/SystemHostSource.h"
#include "daemon/WriteJournal.h"
#include "daemon/history/HistoryDesk.h"
#include "platform/common/Mutex.h"
#include "platform/tessapi/LossClaim.h"

#include <ostream>
#include <string>

namespace velk::daemon {

/// Everything of the daemon that has the store open, the supervised manager among it, for as long as that is
/// one and the same store.
///
/// Threads: `exec` on a thread of its own, once; `exit` from any other.
class StoreSession : public IHostedManager {
public:
    /// Begins to listen and to keep `history`. All of it looks for the store in the environment, and each
    /// part tries on its own until it is there. `history` and `errors` must outlive this object.
    StoreSession(const std::string& configuration, HistoryDesk& history, std::ostream& errors);
    ~StoreSession() override;
    StoreSession(const StoreSession&) = delete;
    StoreSession& operator=(const StoreSession&) = delete;

    /// Runs managers, one after the other, until `exit`. Throws std::runtime_error that says what became of
    /// the store when it is gone for good.
    void exec() override;
    void exit() override {
        links.expectEnd();
        supervisor.stop();
    }
    /// It can be ended from the beginning on.
    std::uint32_t operatingStatus() const override { return 1; }

private:
    std::unique_ptr<IHostedManager> makeManager(const std::string& configuration);
    void give(const std::string& loss) VELK_EXCLUDES(mutex);

    tessapi::LossClaim claim; ///< first: whatever uses the store leaves it to this object to tell of its loss
    HistoryDesk& history;
    WriteJournal writes;
    LogJournal log;
    LifeSign sign;
    ExplainDesk desk;
    CommunicationJournal links;
    std::unique_ptr<StoreFeed> feed;
    SystemHostSource hostSource;
    HostFactsWriter hostFacts;
    Supervisor supervisor;
    velk::common::Mutex mutex;
    std::string lost VELK_GUARDED_BY(mutex); ///< why; empty while the store is there
    StoreWatch watch;                        ///< last: it uses the others
};

} // namespace velk::daemon
