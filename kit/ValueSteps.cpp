// Every served path is read twice and held against the catalogue; counts are held against items.

#include "kit/Steps.h"
#include "kit/ValueRules.h"

#include <algorithm>

namespace velk::kit {

using powerdistribution::EAttribute;
using powerdistribution::ECircuit;
using powerdistribution::EPath;
using powerdistribution::EPowerConverter;
using powerdistribution::EPrivate;
using powerdistribution::EStatus;
using powerdistribution::typeName;
using powerdistribution::Value;
namespace protocols = powerdistribution::protocols;

namespace {

/// Up to these items the library works out the operating status itself, and never asks the plug-in.
constexpr std::uint32_t COMPUTED_INPUTS = 2;
constexpr std::uint32_t COMPUTED_ITEMS = 128;

/// Which of the library's own values a path would double.
enum class Doubles { Nothing, Publisher, Unasked };

Doubles doublesOperatingStatus(const EPath& node) {
    const auto& nodes = node.nodes();
    const EPath bank{ECircuit::BackupSystem, ECircuit::PowerBank};
    if (node.empty() || node == bank) {
        return Doubles::Publisher;
    }
    if (nodes.size() == 2 && nodes[1].holds<EPowerConverter>()) {
        return Doubles::Publisher;
    }
    const auto* index = nodes.back().getIf<std::uint32_t>();
    if (index == nullptr) {
        return Doubles::Nothing;
    }
    const EPath list = node.parent();
    const bool isInput = list == EPath{ECircuit::Inputs} && *index <= COMPUTED_INPUTS;
    const bool isItem = list == EPath{ECircuit::Outputs} || list == EPath{ECircuit::Outlets} ||
                        list == bank + ECircuit::Chargers || list == bank + ECircuit::StorageModules;
    return isInput || (isItem && *index <= COMPUTED_ITEMS) ? Doubles::Unasked : Doubles::Nothing;
}

void checkDoubles(const Session& session, const Point& point) {
    const auto* status = point.path.lastNode().getIf<EStatus>();
    if (status == nullptr) {
        return;
    }
    if (*status == EStatus::HealthState) {
        session.report.error(point.text, "null, since the library computes it and the channel would flap",
                             "a wrapper");
    }
    if (*status != EStatus::OperatingStatus) {
        return;
    }
    switch (doublesOperatingStatus(point.path.parent())) {
    case Doubles::Publisher:
        session.report.error(point.text, "null, since the library computes it and the channel would flap",
                             "a wrapper");
        break;
    case Doubles::Unasked:
        session.report.error(point.text, "null, since the library computes it and never asks here",
                             "a wrapper");
        break;
    case Doubles::Nothing:
        break;
    }
}

struct Flags {
    bool readable{false};
    bool writable{false};
};

std::optional<Flags> flagsOf(const Session& session, const Point& point,
                             const protocols::IValueWrapper& wrapper) {
    Flags flags;
    const Doing doing{session.board, "isReadable", point.text};
    const auto failure = failureOf([&] {
        flags = {wrapper.isReadable(), wrapper.isWritable()};
        wrapper.dataConfig();
    });
    if (failure) {
        session.report.error(point.text, "no exception of isReadable, isWritable and dataConfig", *failure);
        return std::nullopt;
    }
    return flags;
}

void checkFlags(const Session& session, const Point& point, const Flags& flags) {
    const bool isOrder = point.family == Family::Action || point.family == Family::PrivateAction;
    if (isOrder && !flags.writable) {
        session.report.error(point.text, "isWritable true of an action", "false");
    }
    const bool isShown = !isOrder && point.path.lastNode().getIf<EPrivate>() == nullptr;
    if (isShown && !flags.readable) {
        session.report.error(point.text, "isReadable true of what is to be shown", "false");
    }
}

Value timedRead(const Session& session, Point& point, const protocols::IValueWrapper& wrapper) {
    const auto start = now();
    Value value = session.read(wrapper, point.text);
    const auto took = std::chrono::duration_cast<std::chrono::microseconds>(now() - start);
    point.quickest = std::min(point.quickest, took);
    return value;
}

void readTwice(const Session& session, Point& point, const protocols::IValueWrapper& wrapper, bool readable) {
    Value first = timedRead(session, point, wrapper);
    const Value second = timedRead(session, point, wrapper);
    for (const Value& value : {first, second}) {
        if (value.hasValue() && !readable) {
            session.report.error(point.text, "an empty value, since isReadable is false", describe(value));
            return;
        }
        if (const auto mismatch = mismatchOf(point.path, value)) {
            session.report.error(point.text, mismatch->expected, mismatch->came);
            return;
        }
    }
    if (first.hasValue() != second.hasValue()) {
        session.report.warning(point.text, "both of two reads to give a value, or none",
                               describe(first) + ", then " + describe(second));
    }
    const Value& known = second.hasValue() ? second : first;
    point.type = known.hasValue() ? typeName(known) : std::string{};
}

void tryPoint(const Session& session, Point& point) {
    const auto wrapper = session.build(point.path, point.text);
    if (!wrapper) {
        if (!session.isAvoided(point.text)) {
            session.report.error(point.text, "a wrapper each time it is asked for", "null the second time");
        }
        return;
    }
    checkDoubles(session, point);
    const auto flags = flagsOf(session, point, *wrapper);
    if (!flags) {
        return;
    }
    checkFlags(session, point, *flags);
    const bool isLog = point.path.lastNode().getIf<EPrivate>() != nullptr &&
                       *point.path.lastNode().getIf<EPrivate>() == EPrivate::LogChunk;
    if (isLog) {
        // The library tells from where a chunk is to begin before it reads one.
        session.call(point.text, [&] { wrapper->write(Value{std::uint32_t{0}}); });
    }
    readTwice(session, point, *wrapper, flags->readable);
    // The quicker one: a machine with other things to do may hold up any single read.
    if (point.quickest > session.options.slow) {
        session.report.warning(point.text, "a read within " + textOf(session.options.slow),
                               "none in less than " + textOf(point.quickest));
    }
}

void checkCollection(const Session& session, const Collection& found) {
    const std::string text = found.path.nodesToString();
    const std::string countText = (found.path + EAttribute::Count).nodesToString();
    if (!found.hasCount) {
        session.report.warning(countText, "a count, since items are served",
                               "null, so nobody sees " + found.beyond.nodesToString());
        return;
    }
    if (found.count.value_or(0) > TreeWalk::MOST_ITEMS) {
        session.report.error(countText, "at most " + std::to_string(TreeWalk::MOST_ITEMS) + " items",
                             std::to_string(*found.count));
    }
    if (!found.count) {
        session.report.error(countText, "a uint32_t when the tree is built", "no such value");
    }
    for (const std::uint32_t index : found.empty) {
        session.report.error(text + "." + std::to_string(index),
                             "something served, since " + countText + " is " + std::to_string(*found.count),
                             "nothing");
    }
    if (!found.beyond.empty()) {
        session.report.error(found.beyond.nodesToString(),
                             "null, since " + countText + " is " + std::to_string(found.count.value_or(0)),
                             "a wrapper");
    }
}

} // namespace

bool tryValues(Session& session) {
    for (Point& point : session.points) {
        tryPoint(session, point);
    }
    return true;
}

bool tryCounts(Session& session) {
    for (const Collection& collection : session.walk->collections) {
        checkCollection(session, collection);
    }
    for (const HiddenNode& hidden : session.walk->hidden) {
        session.report.warning(hidden.node.nodesToString(), "a wrapper, since something below it is served",
                               "null, so nobody sees " + hidden.below.nodesToString());
    }
    return true;
}

} // namespace velk::kit
