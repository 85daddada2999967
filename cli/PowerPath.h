#pragma once

#include "cli/Communication.h"
#include "cli/StoreView.h"

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

namespace velk::cli {

/// What is worth knowing of one part of the power path, in words. A plain value that refers to its
/// `StoreView`.
struct PathLine {
    enum class Tone { Plain, Good, Bad };

    struct Fact {
        std::string text;
        Tone tone{Tone::Plain};
    };

    std::string name; ///< "Feed 1, Mains"
    std::string path; ///< where it comes from: "Inputs.1"
    std::vector<Fact> facts;
    std::vector<const Point*> points; ///< that the facts were made of
    bool fresh{true};
};

/// One station of the way from the mains to the load.
struct PathSection {
    std::string title;  ///< "Source", "Converters", "Battery", "Output", …
    std::string member; ///< its name for programs: "source"
    std::vector<PathLine> lines;
};

/// The way of the power through the device: sources, which of them is selected, converter chain, battery,
/// outputs, branches, outlets, environment. Of what the store does not know there is no word: no fact, no
/// line and no section.
std::vector<PathSection> powerPath(const StoreView& view, const Communication& communication);

/// An object with a member for each section: an array of objects with `name`, `path`, `facts` (texts),
/// `values` by path and `fresh`.
nlohmann::ordered_json jsonOf(const std::vector<PathSection>& sections);

} // namespace velk::cli
