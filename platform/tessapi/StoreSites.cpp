#include "platform/tessapi/StoreSites.h"

#include "platform/tessapi/engine/StoreError.h"
#include "platform/tessapi/network/NetworkUrl.h"
#ifdef VELK_NETWORKED_STORE
#include "platform/tessapi/network/LinkError.h"
#include "platform/tessapi/network/ServerRefusal.h"
#include "platform/tessapi/network/SiteFinder.h"
#endif

#include <algorithm>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string_view>

namespace tessapi {

namespace {

std::optional<NetworkUrl> parsed(const std::string& text) {
    try {
        return NetworkUrl{text};
    } catch (const std::invalid_argument&) {
        return std::nullopt;
    }
}

/// A URL of a deployment in two parts, between which the site goes.
struct Frame {
    std::string before; ///< ends with '/'
    std::string after;  ///< the options with their '?', or nothing

    std::string with(const std::string& site) const { return before + site + after; }
};

/// The path of a Unix socket looks the same with a site behind it and without.
bool isSocketItself(const NetworkUrl& url) {
    std::error_code ignored;
    return !url.endpoints.front().socket.empty() &&
           std::filesystem::is_socket(url.endpoints.front().socket + "/" + url.site, ignored);
}

Frame frameOf(const std::string& text) {
    if (!NetworkUrl::isScheme(std::string_view{text}.substr(0, text.find(':')))) {
        throw std::invalid_argument{"\"" + NetworkUrl::withoutPassword(text) +
                                    "\" is a single store; many are on a server such as redis://HOST[:PORT]"};
    }
    const auto question = std::min(text.find('?'), text.size());
    Frame frame{text.substr(0, question), text.substr(question)};
    const auto whole = parsed(text);
    if (whole && !isSocketItself(*whole)) {
        frame.before.resize(frame.before.rfind('/') + 1);
        return frame;
    }
    if (frame.before.back() != '/') {
        frame.before += '/';
    }
    if (!parsed(frame.with("site"))) {
        static_cast<void>(NetworkUrl{text}); // which says what is wrong with it
    }
    return frame;
}

} // namespace

StoreSites storeSites(const std::string& text) {
    const NetworkUrl url{frameOf(text).with("site")};
#ifdef VELK_NETWORKED_STORE
    try {
        return SiteFinder{url}.find();
    } catch (const LinkError& failure) {
        throwStoreFault(text, StoreFault::unreachable, failure.what());
    } catch (const ServerRefusal& refusal) {
        throwStoreFault(text, StoreFault::refused, refusal.what());
    }
#else
    throw std::invalid_argument{"this system was built without stores of the network (VELK_NETWORKED_STORE)"};
#endif
}

std::string urlOfSite(const std::string& url, const std::string& site) {
    std::string result = frameOf(url).with(site);
    static_cast<void>(NetworkUrl{result});
    return result;
}

} // namespace tessapi
