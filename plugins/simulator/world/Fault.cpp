#include "plugins/simulator/world/Fault.h"

#include "plugins/simulator/world/Glob.h"
#include "plugins/simulator/world/Members.h"

#include <algorithm>

namespace velk::simulator {

using velk::common::lwjson::Node;

namespace {

constexpr std::uint32_t LONGEST_MS = 3'600'000;

// clang-format off
const Words<FaultKind>& kinds() {
    static const Words<FaultKind> words{
        {"linkLost",         FaultKind::LinkLost},
        {"silent",           FaultKind::Silent},
        {"slow",             FaultKind::Slow},
        {"flapping",         FaultKind::Flapping},
        {"wrongAlternative", FaultKind::WrongAlternative},
        {"garbage",          FaultKind::Garbage},
        {"throw",            FaultKind::Throw},
        {"refuseWrites",     FaultKind::RefuseWrites},
        {"noIdentity",       FaultKind::NoIdentity},
        {"bootloader",       FaultKind::Bootloader},
        {"notFound",         FaultKind::NotFound},
    };
    return words;
}

const Words<Operation>& operations() {
    static const Words<Operation> words{
        {"create",              Operation::Create},
        {"start",               Operation::Start},
        {"stop",                Operation::Stop},
        {"discover",            Operation::Discover},
        {"disconnect",          Operation::Disconnect},
        {"communicationStatus", Operation::CommunicationStatus},
        {"builder",             Operation::Builder},
        {"wrapperFactory",      Operation::WrapperFactory},
        {"buildWrapper",        Operation::BuildWrapper},
        {"isReadable",          Operation::IsReadable},
        {"isWritable",          Operation::IsWritable},
        {"read",                Operation::Read},
        {"write",               Operation::Write},
        {"dataConfig",          Operation::DataConfig},
    };
    return words;
}
// clang-format on

bool hasPath(Operation operation) {
    return operation >= Operation::BuildWrapper;
}

void readThrow(Fault& fault, Members& members) {
    const Node& operation = members.need("operation", "the operation that is to fail");
    fault.operation = wordOf(operation, operations());
    fault.what = "the simulated plug-in fails in " + operation.text();
    if (const Node* path = members.find("path")) {
        if (!hasPath(fault.operation)) {
            refuse(*path, "means nothing for the operation \"" + operation.text() + "\"");
        }
        fault.path = textOf(*path);
    }
    if (const Node* times = members.find("times")) {
        fault.times = countOf(*times, 1, 1'000'000);
    }
    if (const Node* what = members.find("what")) {
        fault.what = what->asString();
    }
    if (const Node* kind = members.find("kindOfException")) {
        fault.isStandard = wordOf<bool>(*kind, {{"standard", true}, {"other", false}});
    }
}

std::chrono::milliseconds readTime(Members& members, std::string_view meaning) {
    return std::chrono::milliseconds{countOf(members.need("ms", meaning), 1, LONGEST_MS)};
}

template <typename E>
std::string wordFor(E member, const Words<E>& words) {
    const auto word =
        std::find_if(words.begin(), words.end(), [&](const auto& entry) { return entry.second == member; });
    return std::string{word->first};
}

} // namespace

bool Fault::concerns(const std::string& point) const {
    return path.empty() || matchesGlob(path, point);
}

FaultKind readFaultKind(const Node& node) {
    return wordOf(node, kinds());
}

Fault readFault(const Node& node) {
    Members members{node};
    Fault fault = readFault(members);
    members.finish();
    return fault;
}

Fault readFault(Members& members) {
    Fault fault;
    fault.kind = readFaultKind(members.need("kind", "what is to be wrong"));
    switch (fault.kind) {
    case FaultKind::Slow:
        fault.time = readTime(members, "how many milliseconds a read takes");
        break;
    case FaultKind::Flapping:
        fault.time = readTime(members, "after how many simulated milliseconds the link comes and goes");
        break;
    case FaultKind::WrongAlternative:
    case FaultKind::Garbage:
        fault.path = textOf(members.need("path", "the data point, \"*\" standing for any text"));
        break;
    case FaultKind::Throw:
        readThrow(fault, members);
        break;
    default:
        break;
    }
    return fault;
}

std::string to_string(FaultKind kind) {
    return wordFor(kind, kinds());
}

std::string to_string(Operation operation) {
    return wordFor(operation, operations());
}

std::string describe(const Fault& fault) {
    std::string text = to_string(fault.kind);
    if (fault.kind == FaultKind::Throw) {
        text += " from " + to_string(fault.operation);
    }
    if (!fault.path.empty()) {
        text += " of " + fault.path;
    }
    if (fault.time.count() > 0) {
        text += ", " + std::to_string(fault.time.count()) + " ms";
    }
    if (fault.times) {
        text += ", " + std::to_string(*fault.times) + " times";
    }
    return text;
}

} // namespace velk::simulator
