#include "platform/tessapi/client/AlarmClient.h"

namespace tessapi {

std::unique_ptr<ActiveAlarm> AlarmClient::getMostCritical(std::uint64_t device) {
    const auto worst = engine.mostCriticalOf(device);
    return worst ? std::make_unique<ActiveAlarm>(*worst) : nullptr;
}

} // namespace tessapi
