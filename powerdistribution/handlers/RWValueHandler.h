#pragma once

#include "powerdistribution/connectors/IConnectorListener.h"
#include "powerdistribution/handlers/ROValueHandler.h"

namespace velk::powerdistribution::handlers {

/// A data point that goes both ways: settings.
///
/// A setting whose write fails is not reported here: the asked value stays in `data`, so the next refresh
/// finds the device's own value different and puts the store back to the truth. Threads: see
/// `BaseValueHandler`. The store's client thread calls `onConnectorValueChange`, from the constructor's
/// `subscribe` to the destructor.
class RWValueHandler final : public ROValueHandler, public connectors::IConnectorListener {
public:
    RWValueHandler(const EPath& path, protocols::ValueWrapperPtr wrapper, connectors::ConnectorPtr connector,
                   bool notifyInitialValue);

    /// Waits for a callback that is running here. A failure of `unsubscribe` ends the process.
    ~RWValueHandler() override;

    void refresh() override VELK_EXCLUDES(lock);

    /// Writes the device unless `data` has that value already: that is the echo of what was published. What
    /// the device has made of a taken value goes back to the store in the same call.
    void onConnectorValueChange(const HandlerData& incoming) override VELK_EXCLUDES(lock);

private:
    /// A handler that is initialised again keeps its value: a setting that was written in the store meanwhile
    /// is still on its way here, and must not be taken for the echo of a published one.
    void loadValue() override VELK_REQUIRES(lock);
};

} // namespace velk::powerdistribution::handlers
