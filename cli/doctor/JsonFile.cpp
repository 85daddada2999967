#include "cli/doctor/JsonFile.h"

#include <fstream>
#include <iterator>
#include <stdexcept>

namespace velk::cli {

void lookIntoJson(const std::string& path,
                  const std::function<void(const velk::common::lwjson::Node&)>& look) {
    std::ifstream stream{path};
    const std::string text{std::istreambuf_iterator<char>{stream}, {}};
    try {
        const velk::common::lwjson::Deserializer json{text};
        look(json.root());
    } catch (const std::runtime_error&) { // NOLINT(bugprone-empty-catch)
    }
}

} // namespace velk::cli
