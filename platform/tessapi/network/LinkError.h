#pragma once

#include <stdexcept>

namespace tessapi {

/// The server of a store does not answer as it should: no connection, a connection that broke, an answer that
/// did not come in time or that no server of a store gives. What was asked for may have been done or not.
class LinkError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

} // namespace tessapi
