#include "benchmarks/gateways/Processes.h"

#include "benchmarks/gateways/Site.h"
#include "platform/common/Mutex.h"

#include <algorithm>
#include <chrono>
#include <memory>
#include <thread>

namespace velk::benchmarks {

namespace {

using velk::common::Mutex;
using velk::common::MutexLock;
using Sites = std::vector<std::unique_ptr<Site>>;

/// For writes that are still on their way when a step ends.
constexpr std::int64_t AFTER_NS = 1'000'000'000;

Sites open(const std::vector<std::string>& urls, const Sizes& sizes) {
    Sites sites;
    for (const std::string& url : urls) {
        sites.push_back(std::make_unique<Site>(url, sizes.channels, sizes.group));
    }
    return sites;
}

void sleepUntil(std::int64_t moment) {
    std::this_thread::sleep_until(std::chrono::steady_clock::time_point{std::chrono::nanoseconds{moment}});
}

Result summaryOf(std::vector<std::int64_t> delays) {
    Result result;
    result.count = delays.size();
    if (!delays.empty()) {
        std::sort(delays.begin(), delays.end());
        result.medianNs = delays[delays.size() / 2];
        result.p99Ns = delays[delays.size() * 99 / 100];
        result.mostNs = delays.back();
    }
    return result;
}

/// How long each write took.
Result writeDuring(const Step& step, const Sites& sites, std::size_t& next) {
    std::vector<std::int64_t> durations;
    const double pauseNs = 1e9 / step.groupsPerSecond;
    for (std::size_t i = 0;; ++i) {
        const auto due = step.beginNs + static_cast<std::int64_t>(static_cast<double>(i) * pauseNs);
        const std::int64_t begin = nowNs();
        // What is due before the end and not written by then counts as not written.
        if (due >= step.endNs || begin >= step.endNs) {
            return summaryOf(std::move(durations));
        }
        if (due > begin) {
            sleepUntil(due);
        }
        const std::int64_t start = nowNs();
        sites[next++ % sites.size()]->write(due);
        durations.push_back(nowNs() - start);
    }
}

/// Collects the delays that its threads see.
class Ears {
public:
    void listen(Site& site) {
        tessapi::Engine& store = site.store();
        std::int64_t seq = store.startOf({}).seq;
        while (true) {
            const auto ticket = store.wakeup().ticket();
            const auto news = store.newsAfter(seq);
            const std::int64_t now = nowNs();
            for (const tessapi::Change& change : news.changes) {
                if (change.object == Site::STAMP) {
                    add(now - std::stoll(change.value.as_string()));
                }
            }
            seq = news.upTo;
            if (news.changes.empty()) {
                store.wakeup().wait(ticket, std::chrono::milliseconds{200});
            }
        }
    }

    std::vector<std::int64_t> take() {
        const MutexLock lock{mutex};
        return std::move(delays);
    }

private:
    void add(std::int64_t delay) {
        const MutexLock lock{mutex};
        delays.push_back(delay);
    }

    Mutex mutex;
    std::vector<std::int64_t> delays VELK_GUARDED_BY(mutex);
};

} // namespace

void writeFor(const std::vector<std::string>& urls, const Sizes& sizes, const Channel& steps,
              const Channel& results) {
    const Sites sites = open(urls, sizes);
    std::size_t next = 0;
    results.send(Result{});
    while (true) {
        const auto step = steps.receive<Step>();
        sleepUntil(step.beginNs);
        results.send(writeDuring(step, sites, next));
    }
}

void listenTo(const std::vector<std::string>& urls, const Sizes& sizes, const Channel& steps,
              const Channel& results) {
    const Sites sites = open(urls, sizes);
    Ears ears;
    std::vector<std::jthread> threads;
    for (const auto& site : sites) {
        threads.emplace_back([&ears, &site] { ears.listen(*site); });
    }
    results.send(Result{});
    while (true) {
        const auto step = steps.receive<Step>();
        sleepUntil(step.beginNs);
        ears.take();
        sleepUntil(step.endNs + AFTER_NS);
        results.send(summaryOf(ears.take()));
    }
}

} // namespace velk::benchmarks
