// Settings and actions. Without being asked for more, a setting gets only what it holds already.

#include "kit/Steps.h"
#include "platform/tessapi/catalogue/Catalogue.h"

#include <cmath>
#include <limits>

namespace velk::kit {

using powerdistribution::EPath;
using powerdistribution::EStatus;
using powerdistribution::Value;
namespace protocols = powerdistribution::protocols;

namespace {

constexpr float TOLERANCE = 0.001F;

bool isSame(const Value& a, const Value& b) {
    const auto* x = a.getIf<float>();
    const auto* y = b.getIf<float>();
    if (x != nullptr && y != nullptr) {
        return std::fabs(*x - *y) <= TOLERANCE * (1.0F + std::fabs(*x));
    }
    return a == b;
}

/// What `write` gave, or nothing when it threw, which is reported.
std::optional<bool> write(const Session& session, const Point& point, protocols::IValueWrapper& wrapper,
                          const Value& value) {
    bool taken = false;
    const Doing doing{session.board, "write", point.text};
    const auto failure = failureOf([&] { taken = wrapper.write(value); });
    if (failure) {
        session.report.error(point.text, "true or false for " + describe(value) + " written", *failure);
        return std::nullopt;
    }
    return taken;
}

void checkRefusal(const Session& session, const Point& point, protocols::IValueWrapper& wrapper,
                  const Value& value, const std::string& why) {
    bool taken = false;
    const Doing doing{session.board, "write", point.text};
    const auto failure = failureOf([&] { taken = wrapper.write(value); });
    if (!failure && taken) {
        session.report.error(point.text, "false for " + why, "true");
    }
}

void trySetting(const Session& session, const Point& point) {
    const auto wrapper = session.build(point.path, point.text);
    if (!wrapper) {
        return;
    }
    bool writable = false;
    session.call(point.text, [&] { writable = wrapper->isWritable(); });
    checkRefusal(session, point, *wrapper, Value{}, "an empty value written");
    checkRefusal(session, point, *wrapper, Value{EPath{EStatus::Mode}}, "a value of another type written");
    const Value held = session.read(*wrapper, point.text);
    if (!held.hasValue()) {
        return;
    }
    const auto taken = write(session, point, *wrapper, held);
    if (taken && *taken != writable) {
        session.report.error(point.text,
                             std::string{writable ? "true" : "false"} + " for its own value written, since " +
                                 "isWritable is " + (writable ? "true" : "false"),
                             *taken ? "true" : "false");
    }
    const Value after = session.read(*wrapper, point.text);
    if (!isSame(after, held)) {
        session.report.error(point.text, describe(held) + " as before, since its own value was written",
                             describe(after));
    }
}

/// Values near the one held, of which a device may take one.
std::vector<Value> neighboursOf(const EPath& path, const Value& held) {
    if (const auto* flag = held.getIf<bool>()) {
        return {Value{!*flag}};
    }
    if (const auto* number = held.getIf<float>()) {
        return {Value{*number + 1.0F}, Value{*number - 1.0F}};
    }
    if (const auto* number = held.getIf<std::int32_t>()) {
        using Limits = std::numeric_limits<std::int32_t>;
        return {Value{*number == Limits::max() ? *number - 1 : *number + 1},
                Value{*number == Limits::min() ? *number + 1 : *number - 1}};
    }
    const auto* number = held.getIf<std::uint32_t>();
    if (number == nullptr) {
        return {};
    }
    const auto* entry = tessapi::Catalogue::builtin().find("PowerDistribution." + path.lastNode().tostring());
    std::vector<Value> values;
    if (entry != nullptr) {
        for (const auto& [key, name] : entry->labels.entries()) {
            if (key.as_uint32() != *number) {
                values.emplace_back(key.as_uint32());
            }
        }
    }
    return values.empty() ? std::vector<Value>{Value{*number + 1}} : values;
}

/// Stands on the board while a setting may hold another value than before.
class Change {
public:
    Change(Board& shared, const Point& point, const Value& held) : board{shared} {
        board.noteChange("; " + point.text + " held " + describe(held) + " and may hold another value now");
    }
    ~Change() { board.noteChange({}); }
    Change(const Change&) = delete;
    Change& operator=(const Change&) = delete;

private:
    Board& board;
};

void changeSetting(const Session& session, const Point& point) {
    const auto wrapper = session.build(point.path, point.text);
    const Value held = wrapper && wrapper->isWritable() ? session.read(*wrapper, point.text) : Value{};
    const Change change{session.board, point, held};
    for (const Value& other : neighboursOf(point.path, held)) {
        if (write(session, point, *wrapper, other) != true) {
            continue;
        }
        const Value after = session.read(*wrapper, point.text);
        if (!isSame(after, other)) {
            session.report.error(point.text, describe(other) + ", which write has taken", describe(after));
        }
        const bool isBack =
            write(session, point, *wrapper, held) == true && isSame(session.read(*wrapper, point.text), held);
        if (!isBack) {
            session.report.error(point.text, describe(held) + " to be taken back",
                                 describe(session.read(*wrapper, point.text)));
        }
        return;
    }
    if (held.hasValue()) {
        session.report.note(point.text, "a change that the device takes", "none that was tried");
    }
}

void fire(const Session& session, const Point& point) {
    const auto wrapper = session.build(point.path, point.text);
    if (!wrapper) {
        return;
    }
    const auto* entry =
        tessapi::Catalogue::builtin().find("PowerDistribution." + point.path.lastNode().tostring());
    const bool isFlag = entry != nullptr && entry->type == qz::datatype::boolean;
    const auto taken = write(session, point, *wrapper, isFlag ? Value{true} : Value{std::int32_t{0}});
    if (taken == false) {
        session.report.note(point.text, "true of an action", "false");
    }
}

} // namespace

bool trySettings(Session& session) {
    for (const Point& point : session.points) {
        if (point.family == Family::Setting) {
            trySetting(session, point);
        }
    }
    return true;
}

bool tryChangingSettings(Session& session) {
    for (const Point& point : session.points) {
        if (session.options.changeSettings && point.family == Family::Setting) {
            changeSetting(session, point);
        }
    }
    return true;
}

bool tryActions(Session& session) {
    for (const Point& point : session.points) {
        if (session.options.actions && point.family == Family::Action) {
            fire(session, point);
        }
    }
    return true;
}

} // namespace velk::kit
