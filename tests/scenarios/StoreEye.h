#pragma once

#include "platform/tessapi/StoreBrowser.h"
#include "platform/tessapi/TessAccessor.h"

#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>

namespace velk::scenarios {

/// What a store holds at one moment, by the texts that people know: "Status.Mode" and "Inputs.1" for what
/// lies below device 20, "PowerEquipment.Status.OperatingStatus" for device 2, "#1005" for a device without
/// a place.
struct StorePicture {
    std::map<std::string, qz::CDevice> devices;             ///< by place; that of device 20 is ""
    std::map<std::string, tessapi::ChannelRecord> channels; ///< by path
    /// Places that several devices have. The device with the greatest identifier is the one that is shown.
    std::set<std::string> doubles;
};

/// The store as another program sees it.
/// Threads: one.
class StoreEye {
public:
    explicit StoreEye(std::string storeUrl) : url{std::move(storeUrl)} {}

    /// Opened by the first use.
    tessapi::TessAccessor& client();

    /// Lets the store go, so that its file may be moved.
    void close() { accessor.reset(); }

    StorePicture look();

    /// Writes a value as another program would; throws std::runtime_error for a path that is not there.
    void write(const std::string& path, const qz::CValue& value);

private:
    const std::string url;
    std::unique_ptr<tessapi::TessAccessor> accessor;
};

} // namespace velk::scenarios
