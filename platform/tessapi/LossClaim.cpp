#include "platform/tessapi/LossClaim.h"

#include "platform/tessapi/engine/LossBoard.h"

namespace tessapi {

LossClaim::LossClaim() {
    LossBoard::ofProcess().claim();
}

LossClaim::~LossClaim() {
    LossBoard::ofProcess().release();
}

// NOLINTBEGIN(readability-convert-member-functions-to-static): what only the owner may do
void LossClaim::announce() {
    LossBoard::ofProcess().announce();
}

std::uint64_t LossClaim::takeValues() {
    return LossBoard::ofProcess().takeValues();
}
// NOLINTEND(readability-convert-member-functions-to-static)

} // namespace tessapi
