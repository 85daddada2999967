#pragma once

#include "kit/Finding.h"
#include "platform/common/Mutex.h"
#include "platform/common/ThreadAnnotations.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace velk::kit {

/// What a child tells its parent, a line each. A plain value.
struct Record {
    enum class Kind : char { Finding = 'F', Step = 'S', Points = 'P', End = 'E' };

    Kind kind{Kind::End};
    Finding finding;       ///< of `Finding`
    std::size_t number{0}; ///< of `Step`: which one begins; of `Points`: how many are served
};

/// The line with its end.
std::string encode(const Record& record);

/// Nothing for a line that is none of ours.
std::optional<Record> decode(std::string_view line);

/// The child's end of the pipe. Threads: any.
class Reporter {
public:
    explicit Reporter(int writeEnd) : descriptor{writeEnd} {}

    void error(const std::string& path, const std::string& expected, const std::string& came);
    void warning(const std::string& path, const std::string& expected, const std::string& came);
    void note(const std::string& path, const std::string& expected, const std::string& came);
    void send(const Record& record) VELK_EXCLUDES(mutex);

private:
    const int descriptor;
    velk::common::Mutex mutex;
};

} // namespace velk::kit
