#include "platform/tessapi/network/Command.h"

#include <cstdlib>
#include <hiredis/hiredis.h>
#include <new>

namespace tessapi {

std::string Command::encoded() const {
    std::vector<const char*> texts;
    std::vector<std::size_t> sizes;
    texts.reserve(words.size());
    sizes.reserve(words.size());
    for (const auto& word : words) {
        texts.push_back(word.data());
        sizes.push_back(word.size());
    }
    char* bytes = nullptr;
    const int size =
        redisFormatCommandArgv(&bytes, static_cast<int>(words.size()), texts.data(), sizes.data());
    if (size < 0) {
        throw std::bad_alloc{};
    }
    const std::unique_ptr<char, void (*)(void*)> owner{bytes, std::free};
    return {bytes, static_cast<std::size_t>(size)};
}

} // namespace tessapi
