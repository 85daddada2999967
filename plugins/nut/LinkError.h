#pragma once

#include <stdexcept>

namespace velk::nut {

/// The connection to the server failed, fell silent or does not speak the protocol; it is of no further use.
class LinkError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

} // namespace velk::nut
