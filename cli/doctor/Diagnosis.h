#pragma once

#include <string>
#include <utility>
#include <vector>

namespace velk::cli {

/// One line of `tess doctor`. A plain value.
struct Diagnosis {
    enum class Kind {
        Ok,
        Note,    ///< worth knowing, nothing to mend
        Problem, ///< something does not work, or soon will not
    };

    static Diagnosis ok(std::string what, std::string detail) {
        return {Kind::Ok, std::move(what), std::move(detail), ""};
    }
    static Diagnosis note(std::string what, std::string detail, std::string advice = "") {
        return {Kind::Note, std::move(what), std::move(detail), std::move(advice)};
    }
    static Diagnosis problem(std::string what, std::string detail, std::string advice) {
        return {Kind::Problem, std::move(what), std::move(detail), std::move(advice)};
    }

    Kind kind{Kind::Ok};
    std::string what;   ///< which check, "store"
    std::string detail; ///< what was found
    std::string advice; ///< what to do; empty when there is nothing

    friend bool operator==(const Diagnosis&, const Diagnosis&) = default;
};

using Diagnoses = std::vector<Diagnosis>;

/// "1.2 MiB".
std::string sizeText(double bytes);

/// "90 s", "5 min", "3 h", "2 d": in the greatest unit of which two have passed.
std::string spanText(double seconds);

} // namespace velk::cli
