#pragma once

#include "platform/tessapi/catalogue/Catalogue.h"

#include <string_view>

namespace tessapi {

/// Merges a catalogue's text into `entries`. Throws velk::common::lwjson::JsonError for text that is none;
/// `entries` may hold a part of it then.
void mergeCatalogue(std::string_view json, Catalogue::Entries& entries);

} // namespace tessapi
