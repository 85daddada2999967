#pragma once

#include "cli/PointReport.h"
#include "cli/StoreView.h"

#include <string>
#include <vector>

namespace velk::cli {

/// The items of a long collection in one table: what is common to switch and measure, the newest change of
/// all their values, and whether they are only the last known. A column that no item has a value for is not
/// there.
std::vector<std::string> collectionLines(const StoreView& view, const Communication& communication,
                                         const Style& style, std::int64_t nowMs,
                                         const std::vector<const StoreView::Branch*>& items);

} // namespace velk::cli
