#include "cli/DoCommand.h"

#include "cli/Communication.h"
#include "cli/EditDistance.h"
#include "cli/Failure.h"
#include "cli/Json.h"
#include "cli/StoreView.h"
#include "cli/ValueText.h"

#include <nlohmann/json.hpp>
#include <string_view>
#include <vector>

namespace velk::cli {

using Json = nlohmann::ordered_json;

namespace {

constexpr std::string_view PREFIX = "Action.";

const Point& requireAction(const StoreView& view, const StoreView::Branch& branch,
                           const std::string& action) {
    const std::string name = action.starts_with(PREFIX) ? action : std::string{PREFIX} + action;
    std::vector<std::string> offered;
    for (std::size_t i = branch.firstPoint; i < branch.firstPoint + branch.pointCount; ++i) {
        const Point& point = view.points()[i];
        if (point.name == name && point.channel != nullptr) {
            return point;
        }
        if (point.isAction()) {
            offered.push_back(point.name.substr(PREFIX.size()));
        }
    }
    std::string list;
    for (const std::string& each : offered) {
        list += (list.empty() ? "" : ", ") + each;
    }
    const std::string near = nearest(name.substr(PREFIX.size()), offered);
    const std::string hint = near.empty() ? "" : "; did you mean \"" + near + "\"?";
    throw Failure{ExitCode::NoSuchPath,
                  branch.title + " has no action \"" + action + "\"" +
                      (list.empty() ? "; it has none at all" : hint + " (it has " + list + ")")};
}

/// Actions.SwitchOff and SwitchOffWithAutoRestart; to cancel them takes no power away.
bool takesPowerAway(const Point& point) {
    return point.name.starts_with("Action.SwitchOff");
}

/// Only a boolean or a delay starts an action.
qz::CValue valueFor(const Point& point, std::optional<std::int32_t> delaySeconds) {
    switch (point.channel->type) {
    case qz::datatype::int32:
        return qz::CValue{delaySeconds.value_or(0)};
    case qz::datatype::boolean:
        if (delaySeconds) {
            throw Failure{ExitCode::Usage, "\"" + point.path + "\" takes no delay; start it without --delay"};
        }
        return qz::CValue{true};
    default:
        throw Failure{ExitCode::Failed, "\"" + point.path + "\" is of the type " +
                                            to_string(point.channel->type) + ", which starts nothing"};
    }
}

void confirm(Session& session, const StoreView::Branch& branch, const Point& point) {
    const std::string what = point.path + ": everything fed by " +
                             (branch.path.empty() ? "the device" : branch.path) + " will lose power";
    if (!session.interactive) {
        throw Failure{ExitCode::Failed, what +
                                            "; nobody to confirm it here, nothing was started (--yes starts "
                                            "it all the same)"};
    }
    session.err << what << ". Go on? [y/N] " << std::flush;
    std::string answer;
    std::getline(session.in, answer);
    if (answer != "y" && answer != "Y" && answer != "yes") {
        throw Failure{ExitCode::Failed, "nothing was started"};
    }
}

} // namespace

ExitCode runDo(Session& session, const std::string& path, const std::string& action,
               std::optional<std::int32_t> delaySeconds, const RequestOptions& options) {
    const StoreView view{session.store.browser().snapshot()};
    const Communication communication{view};
    const StoreView::Branch& branch = view.requireBranch(path);
    const Point& point = requireAction(view, branch, action);
    const qz::CValue value = valueFor(point, delaySeconds);
    requireConnection(communication, point, options.force);
    if (takesPowerAway(point) && !options.yes) {
        confirm(session, branch, point);
    }
    const RequestResult result = request(session, point, value, options.timeout);
    if (session.json) {
        Json object{{"path", point.path}, {"value", jsonOf(value)}};
        addOutcome(object, result);
        printDocument(session.out, object);
    } else {
        session.out << point.path << ": " << outcomeText(result) << "\n";
    }
    return result.exitCode();
}

} // namespace velk::cli
