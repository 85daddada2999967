#include "powerdistribution/datamodel/DataModelScheduler.h"

#include "platform/common/CpuLoadCooldown.h"
#include "powerdistribution/datamodel/updateHandler.h"

#include <future>
#include <stdexcept>
#include <utility>

namespace velk::powerdistribution::datamodel {

using velk::common::ThreadPool;
using velk::common::sched::CpuLoadCooldown;

namespace {

template <typename Scheduler>
void push(Scheduler& scheduler, const DataModelContainer::HandlerPtr& handler, std::uint32_t rank) {
    velk::common::sched::Task<std::function<void()>> task;
    task.basePriority = rank;
    task.currentPriority = rank;
    task.function = [handler] { updateHandler(handler); };
    scheduler.push(std::move(task));
}

template <typename E, typename Scheduler>
void pushGroup(Scheduler& scheduler, const DataModelContainer& container, std::uint32_t rank) {
    for (const auto& [path, handler] : container.group<E>()) {
        push(scheduler, handler, rank);
    }
}

/// Of the private data points only the internal logs are polled.
template <typename Scheduler>
void pushInternalLogs(Scheduler& scheduler, const DataModelContainer& container, std::uint32_t rank) {
    for (const auto& [path, handler] : container.group<EPrivate>()) {
        if (path.lastNode() == EPath::Node{EPrivate::InternalLogs}) {
            push(scheduler, handler, rank);
        }
    }
}

} // namespace

DataModelScheduler::DataModelScheduler(std::uint32_t threads, std::uint32_t cpuLoad, std::uint32_t restTime,
                                       velk::common::Clock& time) :
    maxThreads{threads}, maxCpuLoad{cpuLoad}, maxRestTime{restTime}, clock{time} {}

DataModelScheduler::~DataModelScheduler() {
    shutDown();
}

void DataModelScheduler::initialize(const DataModelContainer& container) {
    if (scheduler != nullptr) {
        throw std::runtime_error{"Data model scheduler is already initialized"};
    }
    auto made = std::make_unique<Scheduler>(
        maxThreads, std::make_unique<CpuLoadCooldown>(maxCpuLoad, maxRestTime, clock), clock);
    made->reserve(container.size());
    // A rank is the number of cycles between two refreshes.
    pushGroup<EStatus>(*made, container, 0);
    pushGroup<ECommunicationStatus>(*made, container, 0);
    pushGroup<EMeasurement>(*made, container, 4);
    pushGroup<ESetting>(*made, container, 60);
    pushGroup<ESpecification>(*made, container, 60);
    pushGroup<EAttribute>(*made, container, 60);
    pushInternalLogs(*made, container, 20);
    scheduler = std::move(made);
}

void DataModelScheduler::start() {
    if (scheduler == nullptr) {
        throw std::runtime_error{"Attempt to start an uninitialized data model scheduler"};
    }
    if (scheduler->running) {
        return;
    }
    scheduler->running = true;
    try {
        launch();
    } catch (...) {
        scheduler->running = false; // nothing runs that `stop` could wait for
        throw;
    }
}

void DataModelScheduler::launch() {
    scheduler->pool = std::make_shared<ThreadPool>(maxThreads); // shuts an earlier one down
    scheduler->backgroundResult = std::make_shared<std::future<void>>(
        std::async(std::launch::async, &Scheduler::background, scheduler.get()));
}

void DataModelScheduler::stop() {
    if (scheduler == nullptr || !scheduler->running) {
        return;
    }
    scheduler->running = false;
    scheduler->cooldown().interrupt();
    const auto result = std::exchange(scheduler->backgroundResult, nullptr);
    result->get();
}

void DataModelScheduler::terminate() {
    if (scheduler == nullptr) {
        return;
    }
    stop();
    const std::unique_ptr<Scheduler> discarded = std::move(scheduler);
    if (discarded->pool != nullptr) {
        discarded->pool->shutDown();
    }
}

void DataModelScheduler::shutDown() noexcept {
    try {
        stop();
    } catch (const std::exception&) { // NOLINT(bugprone-empty-catch)
        // The scheduling has ended by itself. Its owner goes too and has nobody to tell.
    }
    terminate();
}

} // namespace velk::powerdistribution::datamodel
