#pragma once

#include "tests/cli/SampleStore.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace velk::cli::test {

/// `tess` as people and scripts meet it, on a store in another process.
class TessTest : public ::testing::Test {
protected:
    /// Runs `tess` to its end and gives its exit code; `out` and `err` are what it said.
    int tess(const std::vector<std::string>& arguments) {
        const auto program = sample.start(arguments);
        const int code = program->finish();
        out = program->output();
        err = program->errors();
        return code;
    }

    SampleStore sample;
    std::string out;
    std::string err;
};

} // namespace velk::cli::test
