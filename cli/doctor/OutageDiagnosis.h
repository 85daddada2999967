#pragma once

#include "cli/doctor/Diagnosis.h"
#include "platform/tessapi/StoreOutages.h"

#include <cstdint>
#include <functional>
#include <string>

namespace velk::cli {

/// The name of a program by its process; empty when there is none.
using ProgramName = std::function<std::string(int process)>;

/// What the programs of this machine keep for stores whose server they do not reach. `isReached`: this
/// program reaches the server of its own store.
Diagnoses diagnoseOutages(const tessapi::StoreOutages& found, bool isReached, std::int64_t nowMs,
                          const ProgramName& nameOf);

} // namespace velk::cli
