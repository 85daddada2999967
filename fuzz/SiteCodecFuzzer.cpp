// What the keys of a site hold on the server. The first letter says what the rest is taken for.

#include "fuzz/Fuzz.h"
#include "platform/tessapi/network/BadData.h"
#include "platform/tessapi/network/SiteCodec.h"

using namespace tessapi;
using velk::fuzz::demand;

namespace {

qz::tess::CSingleAlarmConfig configOf(const std::vector<SiteCodec::Trigger>& triggers) {
    qz::tess::CSingleAlarmConfig config;
    for (const SiteCodec::Trigger& trigger : triggers) {
        config.triggers.push_back(trigger.first);
    }
    return config;
}

void read(char kind, std::string_view packed) {
    switch (kind) {
    case 'c':
        for (const Change& change : SiteCodec::unpackChanges(packed, 1000)) {
            const std::string again = SiteCodec::packChange(change);
            demand(SiteCodec::unpackChanges(again, 1).size() == 1, "a change is packed as something else");
        }
        break;
    case 'r':
        SiteCodec::unpackRow(packed);
        break;
    case 'i':
        SiteCodec::unpackInfo(packed);
        break;
    case 't': {
        const std::string once = SiteCodec::packTriggers(configOf(SiteCodec::unpackTriggers(packed)));
        const std::string twice = SiteCodec::packTriggers(configOf(SiteCodec::unpackTriggers(once)));
        demand(once == twice, "triggers are packed as others");
        break;
    }
    case 's': {
        const std::string once = SiteCodec::packStates(SiteCodec::unpackStates(packed));
        demand(SiteCodec::packStates(SiteCodec::unpackStates(once)) == once, "states are packed as others");
        break;
    }
    case 'e': {
        const std::string once = SiteCodec::packEvent(SiteCodec::unpackEvent(1, packed));
        demand(SiteCodec::packEvent(SiteCodec::unpackEvent(1, once)) == once,
               "an event is packed as another");
        break;
    }
    case 'w': {
        const std::string once = SiteCodec::packRecord(SiteCodec::unpackRecord(1, packed));
        demand(SiteCodec::packRecord(SiteCodec::unpackRecord(1, once)) == once,
               "a record is packed as another");
        break;
    }
    case 'd':
        SiteCodec::unpackDevice(1, packed);
        break;
    default:
        SiteCodec::numberOf(packed);
    }
}

} // namespace

VELK_FUZZER(site_codec) {
    if (input.empty()) {
        return;
    }
    try {
        read(input.front(), input.substr(1));
    } catch (const BadData& refusal) {
        demand(refusal.what() != std::string{}, "refused without a reason");
    }
}
