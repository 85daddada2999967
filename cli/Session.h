#pragma once

#include "cli/Style.h"
#include "platform/common/Clock.h"
#include "platform/tessapi/ITessAccessor.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <istream>
#include <ostream>

namespace velk::cli {

/// What every command works with. Data goes to `out`, words to `err`. Everything referred to outlives the
/// session.
struct Session {
    tessapi::ITessAccessor& store;
    std::istream& in;
    std::ostream& out;
    std::ostream& err;
    velk::common::Clock& clock; ///< what waiting goes by
    bool json{false};
    bool interactive{false};             ///< a person can be asked through `in`
    Style style{false};                  ///< of `out`
    std::function<std::int64_t()> nowMs; ///< milliseconds since 1970 UTC
    std::size_t width{80};               ///< of a line of `out`, in characters
    bool unicode{false};                 ///< `out` shows more than ASCII
};

} // namespace velk::cli
