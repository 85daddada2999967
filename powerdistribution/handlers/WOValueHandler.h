#pragma once

#include "powerdistribution/connectors/IConnectorListener.h"
#include "powerdistribution/handlers/BaseValueHandler.h"

namespace velk::powerdistribution::handlers {

/// A data point that goes from the store to the device: actions and private actions.
///
/// With `notifyEveryUpdate` the same value written twice starts the action twice; without it, an unchanged
/// value is dropped. A failed action leaves no trace, so that the same request can be sent again.
/// Threads: see `BaseValueHandler`. The store's client thread calls `onConnectorValueChange`, from the
/// constructor's `subscribe` to the destructor.
class WOValueHandler final : public BaseValueHandler, public connectors::IConnectorListener {
public:
    WOValueHandler(const EPath& path, protocols::ValueWrapperPtr wrapper, connectors::ConnectorPtr connector,
                   bool notifyEveryUpdate, bool notifyInitialValue);

    /// Waits for a callback that is running here. A failure of `unsubscribe` ends the process.
    ~WOValueHandler() override;

    /// Does nothing: an action has no state to poll.
    void refresh() override;

    void onConnectorValueChange(const HandlerData& incoming) override VELK_EXCLUDES(lock);

private:
    const bool notifyEveryUpdate;
};

} // namespace velk::powerdistribution::handlers
