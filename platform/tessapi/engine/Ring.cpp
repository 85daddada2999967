#include "platform/tessapi/engine/Ring.h"

#include <algorithm>

namespace tessapi {

Ring::Ring(Database& owner, const char* removal, std::int64_t keep) :
    kept{keep}, step{std::clamp<std::int64_t>(keep / 4, 1, 256)}, removeUpTo{owner, removal} {}

void Ring::prune(std::int64_t last) {
    if (last % step == 0 && last > kept) {
        removeUpTo.execute(last - kept);
    }
}

} // namespace tessapi
