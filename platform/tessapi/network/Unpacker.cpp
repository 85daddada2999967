#include "platform/tessapi/network/Unpacker.h"

#include "platform/tessapi/engine/ValueCodec.h"
#include "platform/tessapi/network/BadData.h"

namespace tessapi {

std::string_view Unpacker::take(std::size_t size) {
    if (size > rest.size()) {
        throw BadData{"something is missing at the end"};
    }
    const auto taken = rest.substr(0, size);
    rest.remove_prefix(size);
    return taken;
}

qz::CValue Unpacker::value() {
    const auto raw = take(number<std::uint32_t>());
    auto decoded = ValueCodec::decode({raw.begin(), raw.end()});
    if (!decoded) {
        throw BadData{"a value that cannot be"};
    }
    return std::move(*decoded);
}

} // namespace tessapi
