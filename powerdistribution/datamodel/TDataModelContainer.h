#pragma once

#include "platform/common/Uuid.h"
#include "powerdistribution/core/EPath.h"
#include "powerdistribution/handlers/IHandler.h"

#include <cstddef>
#include <map>
#include <memory>
#include <tuple>
#include <utility>

namespace velk::powerdistribution {
struct Factories;
}

namespace velk::powerdistribution::datamodel {

/// The index of all handlers by path, and one index for each vocabulary enumeration of `Groups` that holds
/// the handlers whose path ends in a member of it. Handlers own each other only through this index.
///
/// Paths may repeat; a later equal path stands behind the earlier ones.
/// Threads: none of its own. Written while the model is built, and only read after that.
template <typename... Groups>
class TDataModelContainer {
public:
    using HandlerPtr = std::shared_ptr<handlers::IHandler>;
    using Map = std::multimap<EPath, HandlerPtr>;

    /// Enters `handler` by the last node of its path. An empty handle is passed over; an empty path reaches
    /// `all` only.
    void emplace(HandlerPtr handler) {
        if (handler == nullptr) {
            return;
        }
        const EPath& path = handler->epath();
        if (!path.empty()) {
            mapFor(path.lastNode()).emplace(path, handler);
        }
        everything.emplace(path, std::move(handler));
    }

    /// Makes a `T` from the arguments and enters it, after whatever its constructor has entered.
    template <typename T>
    void emplace(EPath&& path, const velk::common::Uuid& uuid, const Factories& factories) {
        emplace(std::make_shared<T>(std::move(path), uuid, factories));
    }

    const Map& all() const { return everything; }

    /// Handlers whose path ends in a node that is no member of `Groups`.
    const Map& others() const { return ungrouped; }

    template <typename E>
    const Map& group() const {
        return std::get<Group<E>>(groups).entries;
    }

    /// The handlers in `others` and in the groups. Not those of `all`, which `clearAll` empties.
    std::size_t size() const { return (ungrouped.size() + ... + group<Groups>().size()); }

    /// Required: empties `all` alone; `others` and the groups keep their handlers.
    void clearAll() { everything.clear(); }

private:
    template <typename E>
    struct Group {
        Map entries;
    };

    Map& mapFor(const EPath::Node& node) {
        Map* found = &ungrouped;
        ((node.template holds<Groups>() ? void(found = &std::get<Group<Groups>>(groups).entries) : void()),
         ...);
        return *found;
    }

    Map everything;
    Map ungrouped;
    std::tuple<Group<Groups>...> groups;
};

} // namespace velk::powerdistribution::datamodel
