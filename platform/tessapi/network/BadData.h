#pragma once

#include <stdexcept>
#include <string>

namespace tessapi {

/// The keys of a site hold what no program of the store has written.
class BadData : public std::runtime_error {
public:
    explicit BadData(const std::string& what) : std::runtime_error{what} {}
};

} // namespace tessapi
