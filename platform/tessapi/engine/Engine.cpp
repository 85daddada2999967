#include "platform/tessapi/engine/Engine.h"

#include "platform/tessapi/engine/SqliteEngine.h"
#include "platform/tessapi/engine/StoreError.h"

#include <unistd.h>

namespace tessapi {

Engine::Engine() : owner{::getpid()} {}

std::shared_ptr<Engine> Engine::open(const StoreUrl& url, bool create, const Options& options) {
    return SqliteEngine::open(url, create, options);
}

StoreHealth Engine::health() {
    StoreHealth health;
    health.url = url();
    health.engine = health.url.substr(0, health.url.find(':'));
    return health;
}

bool Engine::isForked() const {
    return owner != ::getpid();
}

void Engine::checkNotForked() const {
    if (isForked()) {
        throwStoreFault(url(), StoreFault::forked, "");
    }
}

} // namespace tessapi
