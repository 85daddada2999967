#include "powerdistribution/handlers/InternalLogsHandler.h"

#include <iostream>
#include <limits>

namespace velk::powerdistribution::handlers {

using velk::common::MutexLock;

InternalLogsHandler::InternalLogsHandler(const EPath& path, const velk::common::Uuid&,
                                         const Factories& factories) :
    BaseHandler{path},
    logTopIdWrapper{factories.wrapperFactory.buildWrapper(path + EPrivate::LogTopId)},
    logChunkWrapper{factories.wrapperFactory.buildWrapper(path + EPrivate::LogChunk)} {}

InternalLogsHandler::~InternalLogsHandler() = default;

void InternalLogsHandler::initialize() {
    MutexLock held{lock};
    cache.init();
}

void InternalLogsHandler::terminate() {}

void InternalLogsHandler::refresh() {
    MutexLock held{lock};
    if (readTopId() > cache.lastId() && logChunkWrapper != nullptr) {
        fetchChunk();
    }
    if (statusRequested) {
        std::cout << "--------------------------STATUS----------------------------\n";
        statusRequested = false;
        cache.status();
    }
}

std::uint32_t InternalLogsHandler::readTopId() const {
    const Value sample = logTopIdWrapper == nullptr ? Value{} : logTopIdWrapper->read();
    const auto* top = sample.getIf<std::uint32_t>();
    return top == nullptr ? std::numeric_limits<std::uint32_t>::max() : *top;
}

void InternalLogsHandler::fetchChunk() {
    logChunkWrapper->write(Value{cache.lastId()}); // from where the chunk is to begin
    const Value sample = logChunkWrapper->read();
    const auto* chunk = sample.getIf<InternalLogChunk>();
    if (chunk != nullptr && !chunk->entries().empty()) {
        append(*chunk);
    }
}

void InternalLogsHandler::append(const InternalLogChunk& chunk) {
    std::cout << "--------------------------APPEND----------------------------\n" +
                     InternalLogChunk::InternalLogEntry::header("Event ") + "\n";
    for (const auto& entry : chunk.entries()) {
        cache.append(entry);
    }
}

} // namespace velk::powerdistribution::handlers
