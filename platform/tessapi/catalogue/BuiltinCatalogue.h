#pragma once

#include <string_view>

namespace tessapi {

/// The text of catalogue.json as it was when the library was built.
std::string_view builtinCatalogueText();

} // namespace tessapi
