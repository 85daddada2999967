#pragma once

#include <string>
#include <string_view>

namespace velk::simulator {

/// `text` as a JSON string with its quotes. Bytes that are no UTF-8 come out as U+FFFD, so that an answer can
/// always be read.
std::string jsonText(std::string_view text);

/// The shortest number that reads back as the same; "null" for what JSON has no number for.
std::string jsonNumber(float number);
std::string jsonNumber(double number);

} // namespace velk::simulator
