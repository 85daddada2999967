#pragma once

#include "platform/tessapi/StoreBrowser.h"

#include <string>

namespace velk::cli {

/// Makes the value that `text` means for this channel: the label of a state in upper or lower case, a number
/// with or without the channel's unit ("30", "30 s"), yes/no, on/off, true/false or 1/0 for a boolean.
/// Throws `Failure` with `Usage` that says what is expected.
qz::CValue parseValue(const std::string& text, const tessapi::ChannelRecord& channel);

} // namespace velk::cli
