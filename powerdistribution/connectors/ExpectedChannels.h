#pragma once

#include "platform/common/Mutex.h"
#include "platform/common/ThreadAnnotations.h"
#include "platform/tessapi/ITessAccessor.h"

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

namespace tessapi {
class InBandAccessor;
}

namespace velk::powerdistribution::connectors {

/// The channels that connectors know that they will be asked for, so that those of one device are made, or
/// found, in one call of the store. Only for devices that the store has.
///
/// Threads: any; the lock covers the call of the store.
class ExpectedChannels {
public:
    static constexpr std::uint64_t NONE = tessapi::ITessAccessor::UNKNOWN_ID;

    /// What a channel is asked for.
    enum class Need {
        identifier, ///< which it keeps
        value,      ///< which the store's client knows for a short while after the channel was asked for
    };

    /// One of the connectors of one device.
    struct Owner {
        std::uint64_t device{NONE};
        const void* connector{nullptr};
    };

    void expect(const Owner& owner, const std::string& name) VELK_EXCLUDES(lock);

    /// The identifier of a channel that `owner` expects. If it was not asked for yet by this or a greater
    /// need, and others of its device were not either, all of them are. All ones when it is the only one, or
    /// is not expected, or the store has no such device: then the caller asks the store himself.
    std::uint64_t emplace(tessapi::InBandAccessor& store, const Owner& owner, const std::string& name,
                          Need need) VELK_EXCLUDES(lock);

    /// Identifiers of the channels of `owner` that were made here.
    std::vector<std::uint64_t> madeFor(const Owner& owner) const VELK_EXCLUDES(lock);

    /// `owner` expects nothing any more, and what was made for it is not in use.
    void forget(const Owner& owner) VELK_EXCLUDES(lock);

private:
    struct Place {
        const void* connector{nullptr};
        std::string name;
        std::uint64_t id{NONE};
        bool wasAskedForValue{false};
    };
    using Places = std::vector<Place>;

    static void make(tessapi::InBandAccessor& store, std::uint64_t device, const std::vector<Place*>& due,
                     Need need);
    static Place* find(Places& places, const Owner& owner, const std::string& name);

    mutable velk::common::Mutex lock;
    std::unordered_map<std::uint64_t, Places> devices VELK_GUARDED_BY(lock);
};

} // namespace velk::powerdistribution::connectors
