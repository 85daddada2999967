#include "powerdistribution/datamodel/DataModelScheduler.h"

#include "platform/common/CpuLoadCooldown.h"

#include <future>
#include <stdexcept>
#include <utility>

namespace velk::powerdistribution::datamodel {

using velk::common::ThreadPool;
using velk::common::sched::CpuLoadCooldown;

namespace {

/// The scheduler with the book that its tasks poll.
template <typename Scheduler>
struct Round {
    Scheduler& scheduler;
    PollBook& book;
};

template <typename Scheduler>
void push(const Round<Scheduler>& round, const DataModelContainer::HandlerPtr& handler, std::uint32_t rank) {
    velk::common::sched::Task<std::function<void()>> task;
    task.basePriority = rank;
    task.currentPriority = rank;
    // Two references, which a function holds without memory of its own.
    task.function = [&book = round.book, &entry = round.book.add(handler, rank)] { book.poll(entry); };
    round.scheduler.push(std::move(task));
}

template <typename E, typename Scheduler>
void pushGroup(const Round<Scheduler>& round, const DataModelContainer& container, std::uint32_t rank) {
    for (const auto& [path, handler] : container.group<E>()) {
        push(round, handler, rank);
    }
}

/// Of the private data points only the internal logs are polled.
template <typename Scheduler>
void pushInternalLogs(const Round<Scheduler>& round, const DataModelContainer& container,
                      std::uint32_t rank) {
    for (const auto& [path, handler] : container.group<EPrivate>()) {
        if (path.lastNode() == EPath::Node{EPrivate::InternalLogs}) {
            push(round, handler, rank);
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
    auto polled = std::make_unique<PollBook>(clock);
    const Round<Scheduler> round{*made, *polled};
    // A rank is the number of cycles between two refreshes.
    pushGroup<EStatus>(round, container, 0);
    pushGroup<ECommunicationStatus>(round, container, 0);
    pushGroup<EMeasurement>(round, container, 4);
    pushGroup<ESetting>(round, container, 60);
    pushGroup<ESpecification>(round, container, 60);
    pushGroup<EAttribute>(round, container, 60);
    pushInternalLogs(round, container, 20);
    exchangeBook(std::move(polled));
    scheduler = std::move(made);
}

std::unique_ptr<PollBook> DataModelScheduler::exchangeBook(std::unique_ptr<PollBook> present) {
    const velk::common::MutexLock lock{bookLock};
    return std::exchange(book, std::move(present));
}

void DataModelScheduler::noteAllRead() {
    const velk::common::MutexLock lock{bookLock};
    if (book != nullptr) {
        book->noteAllRead();
    }
}

std::optional<PollBook::Note> DataModelScheduler::noteOf(const handlers::IHandler& handler) const {
    const velk::common::MutexLock lock{bookLock};
    return book == nullptr ? std::nullopt : book->noteOf(handler);
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
    const std::unique_ptr<PollBook> polled = exchangeBook(nullptr); // goes after the tasks
    const std::unique_ptr<Scheduler> discarded = std::move(scheduler);
    if (discarded->pool != nullptr) {
        discarded->pool->shutDown();
    }
}

void DataModelScheduler::shutDown() noexcept {
    try {
        stop();
    } catch (...) { // NOLINT(bugprone-empty-catch)
        // The scheduling has ended by itself. Its owner goes too and has nobody to tell.
    }
    terminate();
}

} // namespace velk::powerdistribution::datamodel
