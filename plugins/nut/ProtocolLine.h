#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace velk::nut {

/// The words of a line of the protocol. Words stand between blanks; one in double quotes may hold blanks and
/// the escapes \" and \\, and may be empty. Throws LinkError for a quote that does not end.
std::vector<std::string> splitLine(std::string_view line);

/// The word in double quotes.
std::string quote(std::string_view word);

/// Whether the server takes a value as it is. A '#' makes it close the connection, '"' and '\' reach the
/// device mangled, and control characters end the line.
bool isSafeValue(std::string_view value);

} // namespace velk::nut
