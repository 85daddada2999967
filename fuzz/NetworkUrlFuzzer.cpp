// The name of a store on servers of the network.

#include "fuzz/Fuzz.h"
#include "platform/tessapi/network/NetworkUrl.h"

#include <stdexcept>

using velk::fuzz::demand;

VELK_FUZZER(network_url) {
    const std::string text{input.substr(0, input.find('\0'))}; // as an environment has it
    try {
        const tessapi::NetworkUrl url{text};
        demand(url.text() == text, "the text is not kept");
        demand(!url.endpoints.empty(), "no server");
        demand(!url.site.empty() && url.site.size() <= 128, "no site");
        demand(url.site.find_first_of("/{}:*? \n") == std::string::npos, "a site that spoils its keys");
        demand(url.user.find(':') == std::string::npos, "a password in the name of the user");
        for (const tessapi::Endpoint& endpoint : url.endpoints) {
            demand(endpoint.host.empty() ? endpoint.socket.front() == '/' : endpoint.port != 0, "no place");
            demand(!endpoint.text().empty(), "a server without a text");
        }
    } catch (const std::invalid_argument& refusal) {
        demand(std::string{refusal.what()}.find("; expected ") != std::string::npos,
               "refused without what was expected");
    }
    if (text.find("S3cr3t") != std::string::npos) {
        return;
    }
    try {
        const tessapi::NetworkUrl withPassword{"redis://velk:S3cr3t@" + text};
        demand(false, "a password is taken");
    } catch (const std::invalid_argument& refusal) {
        demand(std::string{refusal.what()}.find("S3cr3t") == std::string::npos, "a message shows a password");
    }
}
