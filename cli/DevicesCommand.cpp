#include "cli/DevicesCommand.h"

#include "cli/Json.h"
#include "cli/StoreView.h"
#include "cli/Table.h"
#include "platform/tessapi/DeviceAttribute.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace velk::cli {

using Json = nlohmann::ordered_json;

namespace {

const std::string& attribute(const qz::CDevice& device, tessapi::DeviceAttribute which) {
    return device.attributes.at(static_cast<std::size_t>(which));
}

Json deviceJson(const qz::CDevice& device, std::size_t channelCount) {
    Json object;
    object["id"] = device.id;
    object["uuid"] = device.uuid.toString();
    object["parent"] = device.parentId == 0 ? Json(nullptr) : Json(device.parentId);
    object["path"] = attribute(device, tessapi::DeviceAttribute::path);
    object["productName"] = attribute(device, tessapi::DeviceAttribute::productName);
    object["serialNumber"] = attribute(device, tessapi::DeviceAttribute::serialNumber);
    object["channels"] = channelCount;
    return object;
}

std::size_t channelCount(const StoreView& view, const StoreView::Branch& branch) {
    const auto first = view.points().begin() + static_cast<std::ptrdiff_t>(branch.firstPoint);
    return static_cast<std::size_t>(
        std::count_if(first, first + static_cast<std::ptrdiff_t>(branch.pointCount),
                      [](const Point& point) { return point.channel != nullptr; }));
}

} // namespace

ExitCode runDevices(Session& session) {
    const StoreView view{session.store.browser().snapshot()};
    Json document = Json::array();
    Table table;
    table.add({session.style.title("ID"), session.style.title("PARENT"), session.style.title("UUID"),
               session.style.title("CHANNELS"), session.style.title("DEVICE")});
    for (const StoreView::Branch& branch : view.branches()) {
        const qz::CDevice& device = *branch.device;
        const std::size_t channels = channelCount(view, branch);
        document.push_back(deviceJson(device, channels));
        table.add({std::to_string(device.id), device.parentId == 0 ? "-" : std::to_string(device.parentId),
                   device.uuid.toString(), std::to_string(channels), branch.title});
    }
    if (session.json) {
        printDocument(session.out, document);
    } else {
        table.print(session.out);
    }
    return ExitCode::Done;
}

} // namespace velk::cli
