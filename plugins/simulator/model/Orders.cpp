#include "plugins/simulator/model/Orders.h"

namespace velk::simulator {

std::optional<MainsState> mainsStateOf(std::string_view text) {
    if (text == "lost") {
        return MainsState::Lost;
    }
    if (text == "normal") {
        return MainsState::Normal;
    }
    if (text == "sag") {
        return MainsState::Sag;
    }
    return text == "swell" ? std::optional{MainsState::Swell} : std::nullopt;
}

} // namespace velk::simulator
