// What stands for the networked store in a build without it (VELK_NETWORKED_STORE).

#include "platform/tessapi/StoreSites.h"

#include <stdexcept>

namespace tessapi {

namespace {

[[noreturn]] void refuse(const std::string& url) {
    throw std::invalid_argument{"\"" + url +
                                "\": this system was built without stores of the network "
                                "(VELK_NETWORKED_STORE)"};
}

} // namespace

StoreSites storeSites(const std::string& url) {
    refuse(url);
}

std::string urlOfSite(const std::string& url, const std::string& /*site*/) {
    refuse(url);
}

} // namespace tessapi
