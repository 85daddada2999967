#pragma once

#include "platform/tessapi/network/Deadline.h"

#include <cstdint>
#include <memory>
#include <string>

struct addrinfo;

namespace tessapi {

/// The addresses of a host, looked up with a deadline: the resolver itself may take half a minute.
class AddressLookup {
public:
    /// Throws LinkError when the name has no address or the time is up.
    AddressLookup(const std::string& host, std::uint16_t port, const Deadline& deadline);
    ~AddressLookup();
    AddressLookup(const AddressLookup&) = delete;
    AddressLookup& operator=(const AddressLookup&) = delete;

    /// A list that lives as long as this object; never null.
    const addrinfo* first() const;

private:
    struct Request;
    std::unique_ptr<Request> request;
};

} // namespace tessapi
