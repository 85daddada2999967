#pragma once

#include "platform/tessapi/network/Deadline.h"

#include <cstddef>
#include <string_view>

namespace tessapi {

/// A stream of bytes to one server. No operation lasts longer than its deadline; one that reaches it, and a
/// connection that breaks or was closed, throw LinkError. Threads: one at a time.
class ITransport {
public:
    virtual ~ITransport() = default;

    virtual void send(std::string_view bytes, const Deadline& deadline) = 0;

    /// Waits for bytes; gives how many there are in `buffer`, at least one.
    virtual std::size_t receive(char* buffer, std::size_t size, const Deadline& deadline) = 0;

    /// What gets ready for reading when bytes come.
    virtual int descriptor() const = 0;
};

} // namespace tessapi
