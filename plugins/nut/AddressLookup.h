#pragma once

#include "platform/common/Clock.h"

#include <cstdint>
#include <memory>
#include <string>

struct addrinfo;
struct gaicb;

namespace velk::nut {

/// The addresses of a host, looked up with a deadline: the resolver itself may take half a minute.
class AddressLookup {
public:
    /// Throws LinkError when the name has no address or the time is up.
    AddressLookup(const std::string& hostName, std::uint16_t portNumber,
                  velk::common::Clock::Duration timeout);
    ~AddressLookup();
    AddressLookup(const AddressLookup&) = delete;
    AddressLookup& operator=(const AddressLookup&) = delete;

    /// A list that lives as long as this object.
    const addrinfo* first() const;

private:
    struct Request;
    std::unique_ptr<Request> request;
};

} // namespace velk::nut
