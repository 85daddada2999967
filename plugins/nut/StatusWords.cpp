#include "plugins/nut/StatusWords.h"

#include <sstream>

namespace velk::nut {

StatusWords::StatusWords(const Variables& variables) {
    const auto status = variables.find("ups.status");
    if (status == variables.end()) {
        return;
    }
    std::istringstream text{status->second};
    for (std::string word; text >> word;) {
        words.insert(word);
    }
}

powerdistribution::Value StatusWords::valueOf(std::string_view word) const {
    return isKnown() ? powerdistribution::Value{has(word)} : powerdistribution::Value{};
}

} // namespace velk::nut
