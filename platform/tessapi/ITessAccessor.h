#pragma once

#include "platform/common/Export.h"
#include "platform/common/Uuid.h"

#include <cstdint>
#include <vector>

namespace tessapi {

class DataAlarms;
class InBandAccessor;
class StoreBrowser;

/// The client of the store: devices here, their channels behind `inbandAccessor`, alarms behind
/// `alarmsAccessor`, and what a person wants to look at behind `browser`.
///
/// Something unknown is an answer, not a failure: each operation says which. A store that cannot be reached
/// or written throws boost::system::system_error whose text names the store and the cause. Threads: every
/// operation may come from any thread.
class VELK_EXPORT ITessAccessor {
public:
    /// "Unknown" where a device or channel identifier is expected.
    static constexpr std::uint64_t UNKNOWN_ID = ~std::uint64_t{0};
    /// The device above all others; always there.
    static constexpr std::uint64_t ROOT_DEVICE = 1;

    virtual ~ITessAccessor();

    virtual InBandAccessor& inbandAccessor() = 0;
    virtual DataAlarms& alarmsAccessor() = 0;
    virtual StoreBrowser& browser() = 0;

    /// All ones for an unknown or nil `uuid`.
    virtual std::uint64_t deviceIdOf(const velk::common::Uuid& uuid) = 0;

    /// Nil for an unknown identifier.
    virtual velk::common::Uuid uuidOf(std::uint64_t deviceId) = 0;

    /// Finds or creates a device. One with this `uuid` is given as it is, unchanged. `wantedId` 0 gives the
    /// next free identifier from 1000 up, never used before; a free wanted one (1 to 999) is given; one held
    /// by another `uuid` is taken over: the earlier device goes with its whole subtree (never for 1). All
    /// ones, and nothing made, for an unknown parent or a nil `uuid`.
    virtual std::uint64_t emplaceDevice(const velk::common::Uuid& uuid, std::uint64_t parentId,
                                        std::uint64_t wantedId) = 0;

    /// Removes the direct children of `device` that are not in `keep`, with their subtrees, at most `limit`
    /// of them. A child that has a kept device below it stays.
    virtual void removeAllSubDevicesExcept(std::uint64_t device, const std::vector<std::uint64_t>& keep,
                                           unsigned int limit) = 0;
};

} // namespace tessapi
