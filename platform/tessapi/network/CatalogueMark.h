#pragma once

#include "platform/tessapi/catalogue/Catalogue.h"

#include <string>

namespace tessapi {

/// By what a site tells whether its channels were made with the same catalogue.
namespace CatalogueMark {

/// 16 hexadecimal digits, other ones for each catalogue that differs in a name, type, label or description.
std::string of(const Catalogue& catalogue);

} // namespace CatalogueMark

} // namespace tessapi
