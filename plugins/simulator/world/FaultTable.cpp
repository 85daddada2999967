#include "plugins/simulator/world/FaultTable.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace velk::simulator {

using velk::common::MutexLock;

namespace {

bool addsUp(FaultKind kind) {
    return kind == FaultKind::WrongAlternative || kind == FaultKind::Garbage || kind == FaultKind::Throw;
}

auto ofKind(FaultKind kind) {
    return [kind](const Fault& fault) { return fault.kind == kind; };
}

} // namespace

FaultTable::FaultTable(const std::vector<Fault>& first) : isEmpty{true} {
    for (const Fault& fault : first) {
        add(fault);
    }
}

void FaultTable::add(const Fault& fault) {
    const MutexLock lock{mutex};
    if (!addsUp(fault.kind)) {
        std::erase_if(faults, ofKind(fault.kind));
    }
    faults.push_back(fault);
    isEmpty = false;
}

void FaultTable::clear() {
    const MutexLock lock{mutex};
    faults.clear();
    isEmpty = true;
}

void FaultTable::clear(FaultKind kind) {
    const MutexLock lock{mutex};
    std::erase_if(faults, ofKind(kind));
    isEmpty = faults.empty();
}

std::optional<Fault> FaultTable::find(FaultKind kind) const {
    if (isEmpty) {
        return std::nullopt;
    }
    const MutexLock lock{mutex};
    const auto fault = std::find_if(faults.begin(), faults.end(), ofKind(kind));
    return fault == faults.end() ? std::nullopt : std::optional<Fault>{*fault};
}

bool FaultTable::concerns(FaultKind kind, const std::string& point) const {
    if (isEmpty) {
        return false;
    }
    const MutexLock lock{mutex};
    return std::any_of(faults.begin(), faults.end(),
                       [&](const Fault& fault) { return fault.kind == kind && fault.concerns(point); });
}

std::vector<Fault> FaultTable::all() const {
    const MutexLock lock{mutex};
    return faults;
}

void FaultTable::throwIf(Operation operation, const std::string& point) {
    if (isEmpty) {
        return;
    }
    Fault found;
    {
        const MutexLock lock{mutex};
        const auto fault = std::find_if(faults.begin(), faults.end(), [&](const Fault& each) {
            return each.kind == FaultKind::Throw && each.operation == operation && each.concerns(point);
        });
        if (fault == faults.end()) {
            return;
        }
        found = *fault;
        if (fault->times && --*fault->times == 0) {
            faults.erase(fault);
            isEmpty = faults.empty();
        }
    }
    if (found.isStandard) {
        throw std::runtime_error{found.what};
    }
    throw ForeignException{found.what};
}

} // namespace velk::simulator
