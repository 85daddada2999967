#include "cli/TreeCommand.h"

#include "cli/CollectionTable.h"
#include "cli/Communication.h"
#include "cli/Json.h"
#include "cli/PointReport.h"
#include "cli/PowerPath.h"
#include "cli/StoreView.h"
#include "cli/Table.h"

#include <algorithm>
#include <array>
#include <limits>
#include <map>
#include <nlohmann/json.hpp>

namespace velk::cli {

using Json = nlohmann::ordered_json;

namespace {

using Branch = StoreView::Branch;

constexpr std::size_t LONGEST_LIST = 8; ///< a collection with more items is a table

struct Station {
    const char* path;
    const char* word;
};

/// The parts of a device in the order in which the power goes through them; others follow.
constexpr auto stations = std::to_array<Station>({
    {"Inputs", "sources"},
    {"PowerConverters", "converter chain"},
    {"PowerModules", "power modules"},
    {"BackupSystem", "battery"},
    {"Outputs", "outputs"},
    {"Branches", "branches"},
    {"Outlets", "outlets"},
    {"Environment", "surroundings"},
});

std::size_t rankOf(const std::string& path) {
    const auto found = std::find_if(stations.begin(), stations.end(),
                                    [&](const Station& station) { return path == station.path; });
    return static_cast<std::size_t>(found - stations.begin());
}

std::vector<const Branch*> childrenOf(const StoreView& view, const Branch& parent) {
    std::vector<const Branch*> children;
    for (const Branch& branch : view.branches()) {
        if (!branch.hidden && branch.device->parentId == parent.device->id) {
            children.push_back(&branch);
        }
    }
    std::stable_sort(children.begin(), children.end(),
                     [](const Branch* a, const Branch* b) { return rankOf(a->path) < rankOf(b->path); });
    return children;
}

/// All the same kind of part, numbered: a collection.
bool areItems(const Branch& parent, const std::vector<const Branch*>& children) {
    return std::all_of(children.begin(), children.end(), [&](const Branch* child) {
        const std::string beginning = parent.path + ".";
        return child->path.starts_with(beginning) &&
               child->path.find_first_not_of("0123456789", beginning.size()) == std::string::npos;
    });
}

Json branchJson(const StoreView& view, const PointReport& report, const Branch& branch, unsigned int depth) {
    Json object;
    object["device"] = branch.title;
    object["id"] = branch.device->id;
    object["points"] = Json::array();
    for (std::size_t i = 0; i < branch.pointCount; ++i) {
        object["points"].push_back(report.json(view.points()[branch.firstPoint + i]));
    }
    object["children"] = Json::array();
    for (const Branch* child : depth == 0 ? std::vector<const Branch*>{} : childrenOf(view, branch)) {
        object["children"].push_back(branchJson(view, report, *child, depth - 1));
    }
    return object;
}

/// The lines of a tree, gathered so that all values stand below each other.
class TreeText {
public:
    TreeText(const Session& owner, const StoreView& storeView, const Communication& storeCommunication,
             bool withAllItems) :
        session{owner},
        view{storeView},
        communication{storeCommunication},
        report{storeCommunication, owner.style, owner.nowMs()},
        full{withAllItems} {
        for (const Station& station : stations) {
            words[station.path] = station.word;
        }
        for (const PathSection& section : powerPath(view, communication)) {
            for (const PathLine& line : section.lines) {
                if (!line.name.empty()) {
                    words.try_emplace(line.path, line.name);
                }
            }
        }
    }

    void add(const Branch& branch, std::size_t level, unsigned int depth) {
        const std::string indent(2 * level, ' ');
        const auto word = branch.equipment ? words.find(branch.path) : words.end();
        table.add({indent + session.style.title(branch.title) +
                   (word == words.end() ? "" : session.style.faint("  (" + word->second + ")"))});
        for (std::size_t i = 0; i < branch.pointCount; ++i) {
            const Point& point = view.points()[branch.firstPoint + i];
            table.add({indent + "  " + point.name, report.value(point), report.changed(point),
                       report.freshness(point)});
        }
        const std::vector<const Branch*> children = childrenOf(view, branch);
        if (depth == 0) {
            addCount(indent, children.size());
        } else if (!full && children.size() > LONGEST_LIST && areItems(branch, children)) {
            addItems(indent, children);
        } else {
            for (const Branch* child : children) {
                add(*child, level + 1, depth - 1);
            }
        }
    }

    void print() const { table.print(session.out); }

private:
    void addCount(const std::string& indent, std::size_t count) {
        if (count != 0) {
            table.add({indent + "  " +
                       session.style.faint(std::to_string(count) + (count == 1 ? " part" : " parts") +
                                           " below it")});
        }
    }

    void addItems(const std::string& indent, const std::vector<const Branch*>& items) {
        for (const std::string& line :
             collectionLines(view, communication, session.style, session.nowMs(), items)) {
            table.add({std::string{indent}.append("  ").append(line)});
        }
        table.add({indent + "  " +
                   session.style.faint("all of one: tess tree " + items.front()->path +
                                       "; of all: tess tree --full")});
    }

    const Session& session;
    const StoreView& view;
    const Communication& communication;
    PointReport report;
    bool full;
    std::map<std::string, std::string> words; ///< by path
    Table table;
};

} // namespace

ExitCode runTree(Session& session, const TreeOptions& options) {
    const StoreView view{session.store.browser().snapshot()};
    const Communication communication{view};
    const unsigned int depth = options.depth.value_or(std::numeric_limits<unsigned int>::max());
    const Branch* start = options.path.empty()
                              ? (view.branches().empty() ? nullptr : &view.branches().front())
                              : &view.requireAnyBranch(options.path);
    if (session.json) {
        const PointReport report{communication, session.style, session.nowMs()};
        printDocument(session.out,
                      start == nullptr ? Json(nullptr) : branchJson(view, report, *start, depth));
    } else if (start != nullptr) {
        TreeText text{session, view, communication, options.full};
        text.add(*start, 0, depth);
        text.print();
    }
    return ExitCode::Done;
}

} // namespace velk::cli
