#include "cli/LineBuilder.h"

#include <utility>

namespace velk::cli {

LineBuilder::LineBuilder(std::string name, std::string path) {
    line.name = std::move(name);
    line.path = std::move(path);
}

void LineBuilder::sayKnown(const std::optional<std::string>& text, std::string_view behind) {
    if (text) {
        say(*text + std::string{behind});
    }
}

void LineBuilder::sayIf(PartReader& part, std::string_view flag, const std::string& text) {
    if (part.isTrue(flag)) {
        say(text, Tone::Bad);
    }
}

void LineBuilder::use(const PartReader& part) {
    line.points.insert(line.points.end(), part.given().begin(), part.given().end());
    line.fresh = line.fresh && part.isFresh();
}

} // namespace velk::cli
