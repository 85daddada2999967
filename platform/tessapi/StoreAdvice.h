#pragma once

#include "platform/common/Export.h"

#include <boost/system/error_code.hpp>

#include <string>

namespace tessapi {

/// What a person can do about a store that fails so, as the end of a sentence; empty when nobody knows.
VELK_EXPORT std::string storeAdvice(const boost::system::error_code& code);

} // namespace tessapi
