#pragma once

#include "platform/tessapi/StoreOutages.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <sys/types.h>

namespace tessapi {

/// The file in which a process says what it keeps for a store whose server is away, so that another program
/// of the machine can tell people. It is replaced as a whole, and goes with this object.
///
/// What cannot be written is not: the standard error has the outage as well. Threads: one at a time.
class OutageNote {
public:
    static constexpr mode_t MODE = 0640;
    /// A longer file is none.
    static constexpr std::size_t MAX_BYTES = 4096;
    /// What the names of all of them begin with.
    static constexpr std::string_view PREFIX = "outage-";

    /// In `folder`, which is made when the one above it is there; without a file when everybody may write
    /// into it, or when `folder` is empty. Notes of this user whose process has ended are removed from it.
    explicit OutageNote(const std::string& folder);
    ~OutageNote();
    OutageNote(const OutageNote&) = delete;
    OutageNote& operator=(const OutageNote&) = delete;

    /// `process` is that of the caller, whatever `outage` says.
    void write(const StoreOutage& outage) const;

    /// Empty for none.
    const std::string& file() const { return path; }

    /// The notes in `folder`, added to `found`.
    static void look(const std::string& folder, StoreOutages& found);

    /// What the file has in it when the process `mark` wrote it, and back: throws std::runtime_error for
    /// anything else.
    static std::string textOf(const StoreOutage& outage, const std::string& mark);
    struct Content {
        StoreOutage outage;
        std::string mark; ///< of the process, see velk::common::ProcessMark
    };
    static Content contentOf(std::string_view text);

private:
    const std::string mark;
    std::string path;
};

} // namespace tessapi
