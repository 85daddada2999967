#pragma once

#include "benchmarks/SyntheticDevice.h"
#include "powerdistribution/connectors/TessDatabaseManager.h"
#include "powerdistribution/datamodel/DataModelManager.h"
#include "testing/TemporaryDirectory.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace velk::benchmarks {

/// The data model of a synthetic device over a store, built and initialised, but not polled: whoever measures
/// makes a scheduler for its handlers.
class SyntheticTree {
public:
    /// Enters further handlers into the tree.
    using More = std::function<void(const powerdistribution::Factories&, const common::Uuid& root)>;

    enum class Store { file, memory };

    SyntheticTree(std::uint32_t outletCount, Store kind, const More& more = {});
    /// Over the store at `url`, which may have the tree of an earlier one.
    SyntheticTree(std::uint32_t outletCount, const std::string& url);
    SyntheticTree(const SyntheticTree&) = delete;
    SyntheticTree& operator=(const SyntheticTree&) = delete;

    /// The one of this size with a store in memory; made anew when another size was asked for before.
    static SyntheticTree& ofSize(std::uint32_t outlets);

    const powerdistribution::datamodel::DataModelContainer& handlers() const { return model.handlers(); }

    /// Builds and initialises the data model anew, as for another device.
    void rebuild();

    /// Refreshes that are due in the cycle of this number, counted from 0.
    std::size_t refreshesIn(std::size_t cycle) const;

    const std::uint32_t outlets;

private:
    const testing::TemporaryDirectory folder;

public:
    const std::string url;
    SyntheticDevice device;

    struct Cost {
        double wall{0}; ///< nanoseconds
        double cpu{0};  ///< likewise, of the whole process
    };

    /// What the store has cost in the last build and initialisation: what the same tree without a store costs
    /// is taken off.
    Cost filling() const;

private:
    template <typename Work>
    static Cost costOf(Work work);
    SyntheticTree(std::uint32_t outletCount, Store kind, const std::string& otherUrl, const More& more);
    void build(const More& more);

    powerdistribution::connectors::TessDatabaseManager store;
    const std::shared_ptr<powerdistribution::protocols::IWrapperFactory> factory;
    powerdistribution::datamodel::DataModelManager model;
    Cost bringingUp;
};

} // namespace velk::benchmarks
