#pragma once

#include "powerdistribution/core/Value.h"

#include <string>

namespace velk::kit {

/// Something that a check of a plug-in has found. A plain value.
struct Finding {
    /// An error breaks the contract, a warning costs something, a note says what could not be tried.
    enum class Severity { Error, Warning, Note };

    Severity severity{Severity::Error};
    std::string path;     ///< of the data point, or the operation where there is none
    std::string expected; ///< completes "expected …"
    std::string came;     ///< completes "came …"
};

/// "error", "warning", "note".
std::string to_string(Finding::Severity severity);

/// One line without its end: "error: PATH: expected EXPECTED; came CAME".
std::string lineOf(const Finding& finding);

/// The same as a JSON object on one line.
std::string jsonOf(const Finding& finding);

/// A JSON text with its quotes. Bytes that are no UTF-8 become U+FFFD.
std::string quoted(const std::string& text);

/// "float 230", "std::string \"on\"", "empty"; texts are cut to 60 bytes.
std::string describe(const powerdistribution::Value& value);

/// True for well-formed UTF-8 without control characters.
bool isPrintable(const std::string& text);

} // namespace velk::kit
