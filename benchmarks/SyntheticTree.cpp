#include "benchmarks/SyntheticTree.h"

#include "benchmarks/NowhereConnectors.h"
#include "benchmarks/Stopwatch.h"
#include "platform/tessapi/TessAccessor.h"
#include "powerdistribution/alarms/AlarmProxyWrapperFactory.h"
#include "powerdistribution/datamodel/powerEquipmentBuilder.h"
#include "powerdistribution/protocols/ProxyWrapperFactory.h"

#include <stdexcept>

namespace velk::benchmarks {

using namespace powerdistribution;

namespace {

std::string urlFor(SyntheticTree::Store kind, const testing::TemporaryDirectory& folder) {
    return kind == SyntheticTree::Store::file ? "sqlite:" + (folder / "tess.db").string()
                                              : "memory:" + folder.path().filename().string();
}

void bringUp(datamodel::DataModelManager& model, const protocols::IWrapperFactory& wrappers,
             const connectors::IConnectorFactory& connectors,
             const datamodel::DataModelManager::Builder& builder) {
    if (!model.build(wrappers, connectors, builder)) {
        throw std::runtime_error{"the tree cannot be built"};
    }
    if (!model.initialize()) {
        throw std::runtime_error{"the tree cannot be initialised"};
    }
}

} // namespace

SyntheticTree::SyntheticTree(std::uint32_t outletCount, Store kind, const More& more) :
    SyntheticTree{outletCount, kind, "", more} {}

SyntheticTree::SyntheticTree(std::uint32_t outletCount, const std::string& otherUrl) :
    SyntheticTree{outletCount, Store::file, otherUrl, {}} {}

SyntheticTree::SyntheticTree(std::uint32_t outletCount, Store kind, const std::string& otherUrl,
                             const More& more) :
    outlets{outletCount},
    url{otherUrl.empty() ? urlFor(kind, folder) : otherUrl},
    device{outletCount, folder.path()},
    store{tessapi::TessAccessor::open("benchmark", url)},
    factory{std::make_shared<protocols::ProxyWrapperFactory>(
        buildAlarmProxyWrapperFactory(device.wrapperFactory()))} {
    build(more);
}

void SyntheticTree::build(const More& more) {
    const auto builder = [&more](const EPath& path, const common::Uuid& uuid, const Factories& factories) {
        auto root = datamodel::powerEquipmentBuilder(path, uuid, factories);
        if (more) {
            more(factories, uuid);
        }
        return root;
    };
    bringingUp = costOf([&] { bringUp(model, *factory, store.connectorFactory(), builder); });
}

template <typename Work>
SyntheticTree::Cost SyntheticTree::costOf(Work work) {
    const double wall = nowNs();
    const double cpu = cpuNs();
    work();
    return {nowNs() - wall, cpuNs() - cpu};
}

SyntheticTree::Cost SyntheticTree::filling() const {
    datamodel::DataModelManager bare;
    const NowhereConnectors nowhere;
    const Cost tree = costOf([&] { bringUp(bare, *factory, nowhere, datamodel::powerEquipmentBuilder); });
    return {bringingUp.wall - tree.wall, bringingUp.cpu - tree.cpu};
}

void SyntheticTree::rebuild() {
    model.clear();
    build({});
}

SyntheticTree& SyntheticTree::ofSize(std::uint32_t outlets) {
    static std::unique_ptr<SyntheticTree> present;
    if (present == nullptr || present->outlets != outlets) {
        present.reset();
        present = std::make_unique<SyntheticTree>(outlets, Store::memory);
    }
    return *present;
}

std::size_t SyntheticTree::refreshesIn(std::size_t cycle) const {
    const auto isTurnOf = [cycle](std::size_t rank) { return (cycle + 1) % (rank + 1) == 0; };
    const datamodel::DataModelContainer& all = handlers();
    std::size_t due = all.group<EStatus>().size() + all.group<ECommunicationStatus>().size();
    if (isTurnOf(4)) {
        due += all.group<EMeasurement>().size();
    }
    if (isTurnOf(60)) {
        due += all.group<ESetting>().size() + all.group<ESpecification>().size() +
               all.group<EAttribute>().size();
    }
    return due;
}

} // namespace velk::benchmarks
