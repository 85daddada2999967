#pragma once

#include "platform/tessapi/engine/Statement.h"

#include <cstdint>

namespace tessapi {

/// Keeps a table with rising numbers bounded. Old rows go a few at a time, because removing one with every
/// new one would touch twice as many pages; so some more rows than `kept` may be there.
/// Threads: those of its database.
class Ring {
public:
    /// `removal` deletes the rows up to a number; it lives as long as the program.
    Ring(Database& owner, const char* removal, std::int64_t keep);

    /// After the row with number `last` was added.
    void prune(std::int64_t last);

private:
    const std::int64_t kept;
    const std::int64_t step;
    Statement removeUpTo;
};

} // namespace tessapi
