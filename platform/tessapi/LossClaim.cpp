#include "platform/tessapi/LossClaim.h"

#include "platform/tessapi/engine/LossBoard.h"

namespace tessapi {

LossClaim::LossClaim() {
    LossBoard::ofProcess().claim();
}

LossClaim::~LossClaim() {
    LossBoard::ofProcess().release();
}

std::uint64_t
LossClaim::takeValues() { // NOLINT(readability-convert-member-functions-to-static): of its owner
    return LossBoard::ofProcess().takeValues();
}

} // namespace tessapi
