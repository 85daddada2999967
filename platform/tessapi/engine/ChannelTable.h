#pragma once

#include "platform/qz/CMultistateMap.h"
#include "platform/qz/CValue.h"
#include "platform/qz/datatype.h"
#include "platform/tessapi/engine/Statement.h"
#include "platform/tessapi/engine/TypedValue.h"

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tessapi {

/// The channels of the store with their values and the names of their states.
/// Threads: those of its database.
class ChannelTable {
public:
    struct Row {
        std::uint64_t id{0};
        std::uint64_t device{0};
        std::string name;
        qz::datatype type{qz::datatype::unknown};
        qz::CValue value; ///< invalid when the channel has none
        std::int64_t writtenMs{0};
        std::int64_t changedMs{0};
        bool hasTriggers{false};
    };

    explicit ChannelTable(Database& owner);

    /// All ones when there is none.
    std::uint64_t find(std::uint64_t device, const std::string& name);
    std::optional<Row> get(std::uint64_t channel);
    /// By device, then by identifier.
    std::vector<Row> all();
    /// The channels of `device`, by identifier.
    std::vector<std::uint64_t> idsOf(std::uint64_t device);

    /// `unknown` for an unknown channel.
    qz::datatype typeOf(std::uint64_t channel);
    /// Each name with each type that channels of this name have.
    std::vector<std::pair<std::string, qz::datatype>> typesByName();
    /// Invalid for an unknown channel and one without value.
    qz::CValue valueOf(std::uint64_t channel);
    TypedValue typeAndValueOf(std::uint64_t channel);
    /// An identifier, all ones for a channel that there is not, with type and value.
    using Found = std::pair<std::uint64_t, TypedValue>;
    /// The channels of `device` with these names, in their order.
    std::vector<Found> findAll(std::uint64_t device, const std::vector<std::string>& names);

    std::uint64_t insert(std::uint64_t device, const std::string& name, qz::datatype type);
    /// With an identifier that is free.
    void insertWithId(std::uint64_t channel, std::uint64_t device, const std::string& name,
                      qz::datatype type);
    void remove(std::uint64_t channel);

    /// The greatest identifier that was ever given.
    std::uint64_t lastGiven();
    void setLastGiven(std::uint64_t channel);
    /// `seq` is the number of the write in the change log.
    void setValue(std::uint64_t channel, const qz::CValue& content, std::int64_t writtenMs,
                  std::int64_t changedMs, std::int64_t seq);
    /// Another type; the value goes.
    void retype(std::uint64_t channel, qz::datatype type);
    void setHasTriggers(std::uint64_t channel, bool hasTriggers);

    qz::CMultistateMap statesOf(std::uint64_t channel);
    void setStates(std::uint64_t channel, const qz::CMultistateMap& states);
    /// Channel and one of its states, by channel.
    std::vector<std::pair<std::uint64_t, qz::CMultistateMap::Entry>> allStates();

private:
    static Row read(const Statement::Run& run);
    Found findTypeAndValue(std::uint64_t device, const std::string& name);
    std::vector<Found> walk(std::uint64_t device, const std::vector<std::string>& names);

    Database& database;
    Statement idByName;
    Statement one;
    Statement every;
    Statement ids;
    Statement type;
    Statement types;
    Statement value;
    Statement typeAndValue;
    Statement typeAndValueByName;
    Statement typesAndValues;
    Statement insertOne;
    Statement insertGiven;
    Statement removeOne;
    Statement last;
    Statement setLast;
    Statement write;
    Statement clear;
    Statement mark;
    Statement states;
    Statement everyState;
    Statement removeStates;
    Statement insertState;
};

} // namespace tessapi
