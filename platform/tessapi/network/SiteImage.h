#pragma once

#include "platform/tessapi/StoreImage.h"
#include "platform/tessapi/catalogue/Catalogue.h"
#include "platform/tessapi/network/Command.h"
#include "platform/tessapi/network/Reply.h"

namespace tessapi {

/// A whole site, as the function "image" of the server gives it and "fill" takes it.
namespace SiteImage {

/// Devices and channels.
StoreSnapshot snapshotOf(ReplyView answer, const Catalogue& catalogue);

/// Everything, from an answer that has events and records in it.
StoreImage imageOf(ReplyView answer, const Catalogue& catalogue);

/// Adds the arguments of "fill".
void addTo(Command& command, const StoreImage& image, const Catalogue& catalogue);

} // namespace SiteImage

} // namespace tessapi
