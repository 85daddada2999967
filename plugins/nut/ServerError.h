#pragma once

#include <stdexcept>
#include <string>
#include <utility>

namespace velk::nut {

/// The server answered "ERR ..."; the connection stays usable. `what()` is the whole answer.
class ServerError : public std::runtime_error {
public:
    explicit ServerError(std::string errorCode) :
        std::runtime_error{"ERR " + errorCode}, reason{std::move(errorCode)} {}

    /// What follows "ERR ", such as "DATA-STALE".
    const std::string& code() const { return reason; }

private:
    std::string reason;
};

} // namespace velk::nut
