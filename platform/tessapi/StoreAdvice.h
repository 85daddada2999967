#pragma once

#include "platform/common/Export.h"

#include <boost/system/error_code.hpp>

#include <exception>
#include <string>

namespace tessapi {

/// What a person can do about a store that fails so, as the end of a sentence; empty when nobody knows.
VELK_EXPORT std::string storeAdvice(const boost::system::error_code& code);

/// Whether the store that was open is gone for good: only a client that opens it anew finds the one that is
/// there now.
VELK_EXPORT bool isStoreLost(const boost::system::error_code& code);

/// The same of what was thrown; false also for what no store has thrown.
VELK_EXPORT bool isStoreLost(const std::exception& failure);

} // namespace tessapi
