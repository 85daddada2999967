#include "powerdistribution/protocols/RuleFunctions.h"

#include <algorithm>
#include <cstdint>
#include <stdexcept>
#include <vector>

namespace velk::powerdistribution::protocols {

namespace {

/// The path of the collection in which `path` lies: what stands before its last index.
EPath collectionOf(const EPath& path) {
    const auto& nodes = path.nodes();
    const auto lastIndex = std::find_if(nodes.rbegin(), nodes.rend(),
                                        [](const EPath::Node& node) { return node.holds<std::uint32_t>(); });
    EPath collection{lastIndex == nodes.rend()
                         ? std::vector<EPath::Node>{}
                         : std::vector<EPath::Node>(nodes.begin(), lastIndex.base() - 1)};
    if (collection.empty()) {
        throw std::invalid_argument{"Invalid argument: epath does not point to a collection item"};
    }
    return collection;
}

bool hasOneItem(const Rule::BuildFuncParameters& parameters) {
    const auto counter = collectionCount(parameters);
    const Value count = counter ? counter->read() : Value{};
    const auto* number = count.getIf<std::uint32_t>();
    return number != nullptr && *number == 1;
}

} // namespace

ValueWrapperPtr collectionCount(const Rule::BuildFuncParameters& parameters) {
    return parameters.factory.buildWrapper(collectionOf(parameters.path) + EAttribute::Count);
}

ValueWrapperPtr _collectionParent(const Rule::BuildFuncParameters& parameters, const EPath& relative) {
    return parameters.factory.buildWrapper(collectionOf(parameters.path).parent() + relative);
}

ValueWrapperPtr _collectionParentIfSingleChild(const Rule::BuildFuncParameters& parameters,
                                               const EPath& relative) {
    return hasOneItem(parameters) ? _collectionParent(parameters, relative) : nullptr;
}

} // namespace velk::powerdistribution::protocols
