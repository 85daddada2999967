#pragma once

#include "cli/PartReader.h"
#include "cli/PowerPath.h"

#include <string>

namespace velk::cli {

// The lines of the power path, one kind of part each. A line without facts is not worth showing.

/// An input, by what is measured there, whether it is good and whether it is used.
PathLine sourceLine(PartReader input, const std::string& name);

/// Which source feeds the load, and why that one; only of a device that chooses between sources.
PathLine selectionLine(PartReader device);

PathLine converterLine(PartReader converter, const std::string& name);
PathLine modulesLine(const PartReader& device);

/// The power bank; without facts when nothing in the store says that there is one.
PathLine batteryLine(const PartReader& device);

PathLine outputLine(PartReader output, const std::string& name);
PathLine branchLine(PartReader branch, const std::string& name);

/// How many outlets are on, which are not, and what they draw together.
PathLine outletsLine(const PartReader& device);

PathLine environmentLine(const PartReader& device);

} // namespace velk::cli
