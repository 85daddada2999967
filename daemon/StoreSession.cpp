#include "daemon/StoreSession.h"

#include "daemon/ConfigurationFile.h"
#include "daemon/LibraryManager.h"
#include "platform/tessapi/TessAccessor.h"

#include <stdexcept>
#include <vector>

namespace velk::daemon {

namespace {

using velk::common::MutexLock;

std::unique_ptr<tessapi::ITessAccessor> openStore() {
    return std::make_unique<tessapi::TessAccessor>("powerdistributiond", true);
}

HostSettings hostSettings(const std::string& path) {
    Findings told; // by whoever started the daemon with this file
    const auto file = ConfigurationFile::read(path, told);
    return file ? HostSettings::of(*file) : HostSettings{};
}

} // namespace

StoreSession::StoreSession(const std::string& configuration, HistoryDesk& historyDesk, std::ostream& errors) :
    history{historyDesk},
    writes{openStore, errors},
    log{openStore, errors},
    sign{openStore, errors},
    desk{openStore, errors},
    links{errors},
    feed{std::make_unique<StoreFeed>(openStore, std::vector<IStoreReader*>{&history, &links, &writes},
                                     errors)},
    hostSource{hostSettings(configuration)},
    hostFacts{openStore, hostSource, errors},
    supervisor{[this, configuration] { return makeManager(configuration); }, velk::common::Clock::system(),
               errors, "check the configuration with: powerdistributiond --check --config " + configuration},
    watch{openStore, [this](const std::string& loss) { give(loss); }} {
    writes.open();
    desk.open();
    feed->open();
}

StoreSession::~StoreSession() {
    feed.reset();
    history.rest();
}

std::unique_ptr<IHostedManager> StoreSession::makeManager(const std::string& configuration) {
    return std::make_unique<LibraryManager>(
        configuration, [this](const velk::powerdistribution::DeviceWrite& write) { writes.record(write); },
        [this](const velk::powerdistribution::DeviceLogPiece& piece) { log.record(piece); }, sign, desk);
}

void StoreSession::exec() {
    supervisor.run();
    const MutexLock lock{mutex};
    if (!lost.empty()) {
        const std::uint64_t values = claim.takeValues();
        throw std::runtime_error{
            lost + (values == 0 ? "" : "; " + std::to_string(values) + " values kept are lost")};
    }
}

void StoreSession::give(const std::string& loss) {
    {
        const MutexLock lock{mutex};
        lost = loss;
    }
    claim.announce();
    sign.abandon();
    supervisor.abandon();
}

} // namespace velk::daemon
