#pragma once

#include "platform/common/Export.h"
#include "platform/common/lwjson/Deserializer.h"

#include <stdexcept>
#include <string>

namespace velk::common::lwjson {

/// What is wrong with a JSON text and where: the failure of `Deserializer` and `Node`.
/// `what()` is "line 3, column 7: " and the reason.
class VELK_EXPORT JsonError : public std::runtime_error {
public:
    JsonError(const Position& position, const std::string& reason);
    ~JsonError() override;

    /// For messages of the form FILE:LINE:COLUMN.
    const Position& position() const { return place; }
    const std::string& reason() const { return cause; }

private:
    Position place;
    std::string cause;
};

} // namespace velk::common::lwjson
