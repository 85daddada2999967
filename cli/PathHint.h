#pragma once

#include "cli/StoreView.h"

#include <string>

namespace velk::cli {

/// What to say when nothing has happened to `wanted`, a path, a part or a glob, and the store has nothing by
/// that name either: "nothing is known by that path; did you mean \"Inputs.1\"?". Empty when it has.
std::string pathHint(const StoreView& view, const std::string& wanted);

} // namespace velk::cli
