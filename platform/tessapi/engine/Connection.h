#pragma once

#include "platform/common/Mutex.h"
#include "platform/tessapi/engine/Database.h"
#include "platform/tessapi/engine/Engine.h"
#include "platform/tessapi/engine/Model.h"

#include <string>

namespace tessapi {

/// A database connection with its statements, and the lock under which one thread at a time uses them.
struct Connection {
    Connection(const std::string& path, const std::string& store, const Catalogue& catalogue,
               const Engine::Options& options) :
        database{path, store}, model{database, catalogue, options} {}

    velk::common::Mutex mutex;
    Database database VELK_GUARDED_BY(mutex);
    Model model VELK_GUARDED_BY(mutex);
};

} // namespace tessapi
