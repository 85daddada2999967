#pragma once

#include "platform/common/Clock.h"
#include "platform/common/Export.h"

#include <cstdint>
#include <memory>
#include <string>

struct addrinfo;

namespace velk::common {

/// The addresses of a host, looked up within a time: the resolver itself may take half a minute.
class VELK_EXPORT AddressLookup {
public:
    /// Waits for at most `timeout`; less than nothing counts as nothing. An address needs no resolver. While
    /// the resolver is still looking for the same host, because nobody waited for it any longer, that is
    /// waited for: it is not asked again and again.
    AddressLookup(const std::string& host, std::uint16_t port, Clock::Duration timeout);
    ~AddressLookup();
    AddressLookup(const AddressLookup&) = delete;
    AddressLookup& operator=(const AddressLookup&) = delete;

    /// Why there is no address, "the address of HOST was not found: …"; empty when there is one.
    const std::string& failure() const { return reason; }

    /// A list that lives as long as this object; null when there is no address.
    const addrinfo* first() const;

private:
    class Question;
    class Desk;
    using QuestionPtr = std::shared_ptr<Question>;

    QuestionPtr question; ///< shared with others who ask the same, and with the resolver's thread
    std::string reason;
};

} // namespace velk::common
