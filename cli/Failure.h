#pragma once

#include "cli/ExitCode.h"

#include <stdexcept>
#include <string>

namespace velk::cli {

/// A command cannot go on: the sentence for the person and the code for the script.
class Failure : public std::runtime_error {
public:
    Failure(ExitCode exitCode, const std::string& sentence) : std::runtime_error{sentence}, code{exitCode} {}

    ExitCode exitCode() const { return code; }

private:
    ExitCode code;
};

} // namespace velk::cli
