#include "cli/Json.h"

#include <nlohmann/json.hpp>

namespace velk::cli {

namespace {

// A device may give bytes that are no UTF-8; they must not cost the whole document.
constexpr auto BAD_BYTES = nlohmann::ordered_json::error_handler_t::replace;

} // namespace

void printDocument(std::ostream& out, const nlohmann::ordered_json& json) {
    out << json.dump(2, ' ', false, BAD_BYTES) << '\n';
}

void printLine(std::ostream& out, const nlohmann::ordered_json& json) {
    out << json.dump(-1, ' ', false, BAD_BYTES) << std::endl;
}

} // namespace velk::cli
