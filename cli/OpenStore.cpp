#include "cli/OpenStore.h"

#include "cli/Failure.h"

#include <csignal>
#include <stdexcept>

namespace velk::cli {

namespace {

/// Keeps the signals that end programs from the threads that are started meanwhile, so that they come to the
/// main thread.
class SignalsForMainThread {
public:
    SignalsForMainThread() {
        sigset_t signals;
        sigemptyset(&signals);
        sigaddset(&signals, SIGINT);
        sigaddset(&signals, SIGTERM);
        pthread_sigmask(SIG_BLOCK, &signals, &before);
    }
    ~SignalsForMainThread() { pthread_sigmask(SIG_SETMASK, &before, nullptr); }
    SignalsForMainThread(const SignalsForMainThread&) = delete;
    SignalsForMainThread& operator=(const SignalsForMainThread&) = delete;

private:
    sigset_t before{};
};

} // namespace

std::string storeUrl(const std::string& named) {
    try {
        return named.empty() ? tessapi::TessAccessor::defaultUrl() : named;
    } catch (const std::invalid_argument& failure) {
        throw Failure{ExitCode::BadConfiguration, failure.what()};
    }
}

std::unique_ptr<tessapi::TessAccessor> openStore(const std::string& named, bool create) {
    const std::string url = storeUrl(named);
    const SignalsForMainThread signals;
    try {
        return tessapi::TessAccessor::open("tess", url, create);
    } catch (const std::invalid_argument& failure) {
        throw Failure{named.empty() ? ExitCode::BadConfiguration : ExitCode::Usage, failure.what()};
    }
}

} // namespace velk::cli
