#pragma once

#include "plugins/nut/Decoders.h"

#include <string>
#include <vector>

namespace velk::nut {

/// A value that a device takes by an instant command instead of by its variable.
struct CommandForValue {
    Value value;
    std::vector<std::string> commands; ///< the first that the device has is used
};

/// How the value of a setting is read and written. A plain value.
struct Codec {
    Decode decode;
    /// The usual words of a setting that is written as one; empty for numbers. The first that reads as the
    /// value asked for and fits is written, unless the server lists the words that it allows.
    std::vector<std::string> words;
    std::vector<CommandForValue> commands; ///< usually none
};

} // namespace velk::nut
