#include "cli/PathHint.h"

#include "cli/EditDistance.h"
#include "cli/PathPattern.h"

#include <vector>

namespace velk::cli {

std::string pathHint(const StoreView& view, const std::string& wanted) {
    if (wanted.empty() || view.find(wanted) != nullptr || !view.matching(wanted).empty()) {
        return "";
    }
    std::vector<std::string> candidates;
    for (const StoreView::Branch& branch : view.branches()) {
        if (branch.path == wanted || branch.title == wanted) {
            return "";
        }
        if (!branch.path.empty()) {
            candidates.push_back(branch.path);
        }
    }
    for (const Point& point : view.points()) {
        candidates.push_back(point.path);
    }
    const std::string near = PathPattern{wanted}.isGlob() ? "" : nearest(wanted, candidates);
    return "nothing is known by that path" + (near.empty() ? "" : "; did you mean \"" + near + "\"?");
}

} // namespace velk::cli
