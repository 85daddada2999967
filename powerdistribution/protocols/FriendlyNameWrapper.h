#pragma once

#include "powerdistribution/protocols/RWValueWrapper.h"

#include <string>

namespace velk::powerdistribution::protocols {

/// A name that people may change, for a device that only has a physical one. It lives in this wrapper alone
/// and is lost with it.
class FriendlyNameWrapper : public RWValueWrapper {
public:
    explicit FriendlyNameWrapper(std::string first);
    ~FriendlyNameWrapper() override;

    /// A string.
    Value read() const override;

    /// True for a string, which becomes the name; false for anything else.
    bool write(const Value& value) override;

private:
    std::string name;
};

} // namespace velk::powerdistribution::protocols
