// Paths that nobody serves, and who the device is.

#include "kit/Steps.h"
#include "platform/common/UnixTime.h"
#include "powerdistribution/core/DeviceIdentifier.h"
#include "powerdistribution/core/Paths.h"
#include "powerdistribution/protocols/IRuleNaming.h"

namespace velk::kit {

using powerdistribution::anyIndex;
using powerdistribution::EAttribute;
using powerdistribution::ECircuit;
using powerdistribution::ECommunicationStatus;
using powerdistribution::EMeasurement;
using powerdistribution::EPath;
using powerdistribution::EProperty;
using powerdistribution::ESetting;
using powerdistribution::EStatus;
using powerdistribution::oneTo;
using powerdistribution::Value;
namespace handlers = powerdistribution::handlers;
namespace protocols = powerdistribution::protocols;

namespace {

constexpr std::uint32_t NO_MEMBER = 9999;
/// A device's clock may be a little ahead of ours.
constexpr std::uint32_t CLOCK_TOLERANCE_SECONDS = 5;

/// Paths that a pattern in a rule table may match; they may be served and must not throw.
std::vector<EPath> patterns() {
    return {
        {},
        {anyIndex},
        {oneTo(4)},
        {1U},
        {ECircuit::Inputs},
        {ECircuit::Inputs, anyIndex, EMeasurement::Voltage},
        {ECircuit::Inputs, oneTo(2), EMeasurement::Voltage},
        {ECircuit::Outputs, anyIndex, ECircuit::Phases, anyIndex, EMeasurement::Voltage},
        {ECircuit::Outlets, oneTo(128), EStatus::SwitchedOn},
        {ECircuit::BackupSystem, ECircuit::PowerBank, ECircuit::StorageModules, anyIndex, EStatus::Supply},
        {anyIndex, anyIndex, anyIndex},
        EPath{std::vector<EPath::Node>(64, EPath::Node{anyIndex})},
        {EStatus::Mode, EStatus::Mode},
        {EProperty::Identification},
        {EProperty::Settings, ESetting::NominalVoltage},
    };
}

/// Paths that no device has.
std::vector<EPath> unknowns() {
    return {
        {static_cast<EStatus>(NO_MEMBER)},
        {static_cast<EMeasurement>(0)},
        {static_cast<ECircuit>(NO_MEMBER), 1U, EMeasurement::Voltage},
        {ECircuit::Inputs, 0U, EMeasurement::Voltage},
        {ECircuit::Inputs, 4294967295U, EMeasurement::Voltage},
        {ECircuit::Outlets, 0U, EStatus::SwitchedOn},
        {ECircuit::Inputs, 1U, ECircuit::Inputs, 1U, EMeasurement::Voltage},
        {ECircuit::Inputs, 1U, EMeasurement::Voltage, EMeasurement::Voltage},
        {ECircuit::Inputs, 1U, static_cast<EMeasurement>(NO_MEMBER)},
        EPath{std::vector<EPath::Node>(64, EPath::Node{ECircuit::Phases})},
    };
}

/// A name for people is one line.
void checkName(const Session& session, const Point& point, const std::string& operation,
               const std::string& name) {
    if (!isPrintable(name)) {
        session.report.error(point.text, "one line of printable UTF-8 from " + operation, quoted(name));
    } else if (name.empty()) {
        session.report.warning(point.text, "a name from " + operation + ", since the path is served", "none");
    }
}

void checkNamesOf(const Session& session, const Point& point, const protocols::IRuleNaming* rules) {
    std::string name;
    if (rules != nullptr && session.call("ruleOf", [&] { name = rules->ruleOf(point.path); })) {
        checkName(session, point, "ruleOf", name);
    }
    const auto wrapper = session.build(point.path, point.text);
    const auto* source = dynamic_cast<const protocols::ISourceNaming*>(wrapper.get());
    if (source != nullptr && session.call("sourceName", [&] { name = source->sourceName(); })) {
        checkName(session, point, "sourceName", name);
    }
}

void checkReportedUuid(Session& session) {
    const EPath path{EProperty::Identification, EAttribute::Uuid};
    const auto wrapper = session.build(path);
    const Value value = wrapper ? session.read(*wrapper, path.nodesToString()) : Value{};
    const auto* text = value.getIf<std::string>();
    if (text != nullptr && failureOf([&] { velk::common::Uuid{*text}; })) {
        session.report.error(path.nodesToString(), "a Uuid as text", describe(value));
    }
}

velk::common::Uuid identify(Session& session) {
    velk::common::Uuid uuid;
    session.call("identity", [&] { uuid = handlers::getDeviceUuid(*session.plugin.factory); });
    return uuid;
}

} // namespace

bool tryOddPaths(Session& session) {
    for (const EPath& path : patterns()) {
        const auto wrapper = session.build(path);
        if (path.empty() && wrapper) {
            session.report.error(path.nodesToString(), "null for the empty path", "a wrapper");
        }
    }
    for (const EPath& path : unknowns()) {
        if (session.build(path)) {
            session.report.error(path.nodesToString(), "null for a path that no device has", "a wrapper");
        }
    }
    return true;
}

bool tryNames(Session& session) {
    const auto* rules = dynamic_cast<const protocols::IRuleNaming*>(session.plugin.factory.get());
    for (const Point& point : session.points) {
        checkNamesOf(session, point, rules);
    }
    return true;
}

bool tryIdentity(Session& session) {
    checkReportedUuid(session);
    session.identity = identify(session);
    if (session.identity.isNil()) {
        session.report.error("identity",
                             "Identification.Attribute.Uuid, or manufacturer, product name and serial number",
                             "neither; the tree is built anew on every pass");
        return true;
    }
    checkIdentity(session, "the second read");
    const EPath firmware{EProperty::Identification, EAttribute::FirmwareVersion};
    if (!session.build(firmware)) {
        session.report.note(firmware.nodesToString(), "a text",
                            "null; an update of the device is not noticed");
    }
    return true;
}

void checkIdentity(Session& session, const std::string& when) {
    if (session.identity.isNil()) {
        return;
    }
    const velk::common::Uuid again = identify(session);
    if (!(again == session.identity)) {
        session.report.error("identity", "the same as before, " + textOf(session.identity),
                             textOf(again) + " at " + when);
    }
}

bool tryCommunicationStatus(Session& session) {
    const auto status = session.status();
    if (!status) {
        return true;
    }
    if (status->state != GOOD_LINK) {
        session.report.error("communicationStatus", "state 2 while the device is connected",
                             "state " + std::to_string(status->state));
    }
    const std::uint32_t since = status->since.toIntegralType();
    if (since == 0 || since > conv::UnixTime::now().toIntegralType() + CLOCK_TOLERANCE_SECONDS) {
        session.report.error("communicationStatus", "a time of the link's last change that has been",
                             "since " + status->since.toIso8601());
    }
    const auto again = session.status();
    if (again && again->state == status->state && again->since != status->since) {
        session.report.error("communicationStatus", "the same time while the state is the same",
                             status->since.toIso8601() + ", then " + again->since.toIso8601());
    }
    const EPath path{ECommunicationStatus::State};
    const auto wrapper = session.build(path);
    if (!wrapper) {
        session.report.error(path.nodesToString(), "a wrapper, or the device never counts as connected",
                             "null");
        return true;
    }
    const Value value = session.read(*wrapper, path.nodesToString());
    const Value expected{static_cast<std::uint32_t>(status->state)};
    if (!(value == expected)) {
        session.report.error(path.nodesToString(), describe(expected) + " as communicationStatus says",
                             describe(value));
    }
    return true;
}

} // namespace velk::kit
