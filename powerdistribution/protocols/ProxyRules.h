#pragma once

#include "powerdistribution/protocols/RuleBasedWrapperBuilder.h"

#include <vector>

namespace velk::powerdistribution::protocols {

/// What `ProxyWrapperFactory` gives before it asks the protocol. Built at the first call and constant from
/// then on.
const std::vector<Rule>& beforeRules();

/// What it gives where the protocol has nothing. Built likewise.
const std::vector<Rule>& afterRules();

} // namespace velk::powerdistribution::protocols
