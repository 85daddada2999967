#include "daemon/LifeSign.h"

#include "daemon/WriteJournal.h"
#include "platform/common/ProcessMark.h"
#include "platform/tessapi/InBandAccessor.h"

#include <utility>

namespace velk::daemon {

LifeSign::LifeSign(Opener storeOpener, std::ostream& errorStream) :
    opener{std::move(storeOpener)}, errors{errorStream} {}

void LifeSign::say(bool working) {
    try {
        const std::unique_ptr<tessapi::ITessAccessor> store = opener();
        const std::uint64_t device = WriteJournal::emplaceDaemonDevice(*store);
        tessapi::InBandAccessor& inband = store->inbandAccessor();
        const std::string mark = working ? velk::common::ProcessMark::ofThisProcess() : std::string{};
        inband.setChannelCValue(inband.emplaceChannel(device, CHANNEL, false), qz::CValue{mark});
    } catch (const std::exception& failure) {
        errors
            << std::string{"powerdistributiond: the store cannot be told whether the daemon is at work: "} +
                   failure.what() + "\n"
            << std::flush;
    }
}

} // namespace velk::daemon
