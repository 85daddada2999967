#pragma once

#include "platform/common/Export.h"
#include "platform/tessapi/StoreImage.h"

#include <cstddef>
#include <optional>
#include <string>

namespace tessapi {

/// The first thing in an image that no store could hold. A plain value.
struct ImageFault {
    enum class Part { image, device, channel, alarmEvent, writeRecord };

    Part part{Part::image};
    std::size_t index{0}; ///< of the device, channel, event or record in the image
    std::string text;     ///< "the identifier 20 is there twice"
};

/// Whether a store could be as `image` says: one root with its own Uuid, every device below it, identifiers
/// and names that are there once, values of the types of their channels, numbers that rise. Empty when it is.
VELK_EXPORT std::optional<ImageFault> findFault(const StoreImage& image);

} // namespace tessapi
