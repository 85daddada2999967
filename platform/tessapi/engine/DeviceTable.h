#pragma once

#include "platform/common/Uuid.h"
#include "platform/qz/CDevice.h"
#include "platform/tessapi/engine/Statement.h"

#include <cstdint>
#include <string>
#include <vector>

namespace tessapi {

/// The devices of the store and their attributes. Unknown identifiers are answered, never a failure.
/// Threads: those of its database.
class DeviceTable {
public:
    explicit DeviceTable(Database& owner);

    /// All ones for an unknown or nil `uuid`.
    std::uint64_t find(const velk::common::Uuid& uuid);
    /// Nil for an unknown identifier.
    velk::common::Uuid uuidOf(std::uint64_t device);
    bool contains(std::uint64_t device);

    /// With the identifier `id`, or the next one that was never given when it is 0.
    std::uint64_t insert(const velk::common::Uuid& uuid, std::uint64_t parent, std::uint64_t id);

    /// The greatest identifier from 1000 up that was ever given, else 999.
    std::uint64_t lastGiven();
    void setLastGiven(std::uint64_t device);

    /// By identifier; empty for an unknown device.
    std::vector<std::uint64_t> childrenOf(std::uint64_t device);
    /// `device` and all that is below it, the deepest first.
    std::vector<std::uint64_t> subtreeOf(std::uint64_t device);
    /// Removes what `subtreeOf` gave, with attributes and channels.
    void remove(const std::vector<std::uint64_t>& subtree);

    qz::CDevice get(std::uint64_t device);
    std::vector<qz::CDevice> all();

    std::string attribute(std::uint64_t device, std::uint32_t number);
    void setAttribute(std::uint64_t device, std::uint32_t number, const std::string& text, std::int64_t seq);
    void noteAlarmChange(std::uint64_t device, std::int64_t seq);

private:
    static qz::CDevice read(const Statement::Run& run);

    Database& database;
    Statement idByUuid;
    Statement uuidById;
    Statement insertNext;
    Statement insertWanted;
    Statement last;
    Statement setLast;
    Statement children;
    Statement subtree;
    Statement removeOne;
    Statement one;
    Statement every;
    Statement attributesOfOne;
    Statement attributesOfAll;
    Statement attributeText;
    Statement writeAttribute;
    Statement markAttribute;
    Statement markAlarm;
};

} // namespace tessapi
