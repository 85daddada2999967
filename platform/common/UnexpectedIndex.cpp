#include "platform/common/UnexpectedIndex.h"

namespace velk::common {

UnexpectedIndex::UnexpectedIndex() noexcept = default;

UnexpectedIndex::~UnexpectedIndex() = default;

const char* UnexpectedIndex::what() const noexcept {
    return "Unexpected index";
}

} // namespace velk::common
