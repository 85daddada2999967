#pragma once

#include "platform/common/Mutex.h"

#include <algorithm>
#include <deque>
#include <functional>
#include <optional>
#include <ostream>
#include <streambuf>
#include <string>
#include <utility>

namespace velk::scenarios {

/// Takes the place of a standard stream while it lives and keeps its lines until somebody takes them.
///
/// Threads: any. The listener is called on the thread that has ended the line, holding no lock.
class LineLog final : public std::streambuf {
public:
    /// False: the line is not kept.
    using Hear = std::function<bool(const std::string& line)>;

    /// `stream` outlives this object. `listener` may be empty.
    explicit LineLog(std::ostream& standardStream, Hear listener = {}) :
        stream{standardStream}, onLine{std::move(listener)}, before{stream.rdbuf(this)} {}
    ~LineLog() override { stream.rdbuf(before); }
    LineLog(const LineLog&) = delete;
    LineLog& operator=(const LineLog&) = delete;

    /// The oldest line that is kept; it is kept no longer.
    std::optional<std::string> take() VELK_EXCLUDES(mutex) {
        const velk::common::MutexLock lock{mutex};
        if (lines.empty()) {
            return std::nullopt;
        }
        std::string line = std::move(lines.front());
        lines.pop_front();
        return line;
    }

    /// Takes the first line that is `text`, wherever it is; false when there is none.
    bool takeOne(const std::string& text) VELK_EXCLUDES(mutex) {
        const velk::common::MutexLock lock{mutex};
        const auto found = std::find(lines.begin(), lines.end(), text);
        if (found == lines.end()) {
            return false;
        }
        lines.erase(found);
        return true;
    }

    /// Lets go of all lines, for runs in which nobody looks at them.
    void forget() VELK_EXCLUDES(mutex) {
        const velk::common::MutexLock lock{mutex};
        lines.clear();
    }

protected:
    int_type overflow(int_type character) override {
        const char one = traits_type::to_char_type(character);
        xsputn(&one, 1);
        return character;
    }

    std::streamsize xsputn(const char* text, std::streamsize size) override VELK_EXCLUDES(mutex) {
        for (std::string& line : split(std::string{text, static_cast<std::size_t>(size)})) {
            if (!onLine || onLine(line)) {
                const velk::common::MutexLock lock{mutex};
                lines.push_back(std::move(line));
            }
        }
        return size;
    }

private:
    /// The lines that are whole now.
    std::deque<std::string> split(const std::string& text) VELK_EXCLUDES(mutex) {
        std::deque<std::string> whole;
        const velk::common::MutexLock lock{mutex};
        begun += text;
        for (auto end = begun.find('\n'); end != std::string::npos; end = begun.find('\n')) {
            whole.push_back(begun.substr(0, end));
            begun.erase(0, end + 1);
        }
        return whole;
    }

    std::ostream& stream;
    const Hear onLine;
    std::streambuf* const before;
    mutable velk::common::Mutex mutex;
    std::string begun VELK_GUARDED_BY(mutex); ///< a line that has no end yet
    std::deque<std::string> lines VELK_GUARDED_BY(mutex);
};

} // namespace velk::scenarios
