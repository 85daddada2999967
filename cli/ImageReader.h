#pragma once

#include "platform/tessapi/StoreImage.h"

#include <string>
#include <string_view>

namespace velk::cli {

/// The image that `text` holds, as `writeImage` writes it: checked for everything that a store demands, so
/// that a store can be filled from it. Throws `Failure` "FILE:LINE:COLUMN: " and what is wrong there; `file`
/// is the name for that message.
tessapi::StoreImage readImage(const std::string& file, std::string_view text);

} // namespace velk::cli
