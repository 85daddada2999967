#include "powerdistribution/alarms/ReferenceWrappers.h"

namespace velk::powerdistribution::protocols {

namespace {

template <typename E>
constexpr std::uint32_t lastMember = 0;

template <>
constexpr std::uint32_t lastMember<ESetting> = static_cast<std::uint32_t>(ESetting::WiringFaultEnabled);

} // namespace

template <typename E>
EPath findByString(const std::string& text) {
    for (std::uint32_t number = 1; number <= lastMember<E>; ++number) {
        EPath path{static_cast<E>(number)};
        if (path.nodesToString() == text) {
            return path;
        }
    }
    return EPath::Null;
}

template EPath findByString<ESetting>(const std::string& text);

ReferenceWrappers buildRefWrapperMap(const EPath& path, const std::optional<AlarmConfig>& config,
                                     const IWrapperFactory& factory) {
    ReferenceWrappers references;
    if (path.size() < 2 || !config) {
        return references;
    }
    const EPath parent = path.parent();
    for (const Trigger& trigger : config->triggers) {
        const EPath setting = findByString<ESetting>(trigger.reference);
        if (!setting.empty() && references.count(setting) == 0) {
            references.emplace(setting, factory.buildWrapper(parent + setting));
        }
    }
    return references;
}

} // namespace velk::powerdistribution::protocols
