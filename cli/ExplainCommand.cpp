#include "cli/ExplainCommand.h"

#include "cli/Communication.h"
#include "cli/EditDistance.h"
#include "cli/Explanation.h"
#include "cli/Failure.h"
#include "cli/Inquiry.h"
#include "cli/Json.h"
#include "cli/StoreView.h"

#include <nlohmann/json.hpp>
#include <vector>

namespace velk::cli {

namespace {

constexpr std::size_t SUGGESTIONS = 3;

std::string quotedList(const std::vector<std::string>& texts) {
    std::string list;
    for (std::size_t i = 0; i < texts.size(); ++i) {
        const bool isLast = i + 1 == texts.size();
        list += i == 0 ? "" : isLast ? " or " : ", ";
        list += "\"" + texts[i] + "\"";
    }
    return list;
}

[[noreturn]] void failNotExplained(const StoreView& view, const std::string& path) {
    for (const StoreView::Branch& branch : view.branches()) {
        if (!branch.hidden && branch.equipment && (branch.path == path || branch.title == path)) {
            const std::string all = branch.path.empty() ? "" : " '" + branch.path + ".*'";
            throw Failure{ExitCode::NoSuchPath,
                          "\"" + path + "\" is a part of the device and no value; see " +
                              (all.empty() ? "tess tree" : "tess get" + all) + " for its values"};
        }
    }
    std::vector<std::string> candidates;
    for (const Point& point : view.points()) {
        candidates.push_back(point.path);
    }
    const std::vector<std::string> near = nearestFew(path, candidates, SUGGESTIONS);
    throw Failure{ExitCode::NoSuchPath,
                  "no such path: \"" + path + "\"" +
                      (near.empty() ? "; tess tree shows all" : "; did you mean " + quotedList(near) + "?")};
}

} // namespace

ExitCode runExplain(Session& session, const std::string& path, velk::common::Clock::Duration timeout) {
    const StoreView first{session.store.browser().snapshot()};
    if (first.find(path) == nullptr) {
        failNotExplained(first, path);
    }
    const Inquiry::Result inquiry = Inquiry::ask(session, Communication{first}, path, timeout);
    // Later than the answer, so that what the daemon has published by then is seen.
    const StoreView view{session.store.browser().snapshot()};
    const Communication communication{view};
    const Explanation explanation{view, communication, view.require(path), inquiry};
    if (session.json) {
        printDocument(session.out, explanation.json());
    } else {
        explanation.print(session.out, session.style, session.nowMs());
    }
    if (!inquiry.answer) {
        session.err << "tess: " << inquiry.silence << "; shown is what the store alone knows\n";
    }
    return ExitCode::Done;
}

} // namespace velk::cli
