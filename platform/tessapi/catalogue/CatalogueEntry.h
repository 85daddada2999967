#pragma once

#include "platform/qz/CMultistateMap.h"
#include "platform/qz/datatype.h"

#include <string>

namespace tessapi {

/// What the store knows of every channel of one name. A plain value.
struct CatalogueEntry {
    qz::datatype type{qz::datatype::string};
    std::string unit;          ///< "V", "%", "°C"; empty for states, texts and factors
    std::string description;   ///< one line, for people
    qz::CMultistateMap labels; ///< keys are of `type`; empty for a channel without named states

    friend bool operator==(const CatalogueEntry&, const CatalogueEntry&) = default;
};

} // namespace tessapi
