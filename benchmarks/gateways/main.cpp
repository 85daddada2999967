// How many gateways one server, or a cluster of three, carries: writes of many gateways at a rate that is
// raised until the delay to a listener bends.
//
//     velk-benchmark-gateways [--cluster] [--gateways 1000] [--channels 300] [--seconds 10] [--rates 1,2,4,8]
//                             [--writers 2] [--listeners 40]
//
// A rate of 1 is a group of 1 % of the channels of every gateway in each second. Prints tables in Markdown.

#include "benchmarks/gateways/Processes.h"
#include "benchmarks/gateways/Site.h"
#include "testing/RedisCluster.h"
#include "testing/RedisServer.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <iostream>
#include <memory>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace velk::benchmarks {
namespace {

using velk::testing::RedisCluster;
using velk::testing::RedisServer;

constexpr std::int64_t SECOND_NS = 1'000'000'000;

struct Plan {
    bool cluster{false};
    std::size_t gateways{1000};
    std::size_t channels{300};
    std::size_t writers{2};
    std::size_t listeners{40};
    std::int64_t seconds{10};
    std::vector<double> rates{1, 2, 4, 8, 16};
};

/// The servers under test.
class Servers {
public:
    explicit Servers(bool asCluster) {
        if (asCluster) {
            cluster.emplace();
        } else {
            single.emplace();
        }
    }

    std::string url(std::size_t gateway) const {
        const std::string place =
            cluster ? "redis+cluster://" + cluster->addresses() : "redis://" + single->address();
        return place + "/gateway-" + std::to_string(gateway);
    }

    /// The sum over all nodes of a number that INFO tells.
    double sum(const std::string& field) {
        double total = 0.0;
        for (std::size_t i = 0; i < size(); ++i) {
            total += std::stod(server(i).info(field));
        }
        return total;
    }
    /// Of a key, wherever it is.
    double memoryOf(const std::string& key) {
        double bytes = 0.0;
        for (std::size_t i = 0; i < size(); ++i) {
            try {
                const std::string found = server(i).command({"MEMORY", "USAGE", key, "SAMPLES", "0"});
                bytes += found.empty() ? 0.0 : std::stod(found);
            } catch (const std::runtime_error&) { // MOVED: it is on another node
                continue;
            }
        }
        return bytes;
    }
    double cpuSeconds() { return sum("used_cpu_user") + sum("used_cpu_sys"); }
    double trafficBytes() { return sum("total_net_input_bytes") + sum("total_net_output_bytes"); }

private:
    std::size_t size() const { return cluster ? cluster->size() : 1; }
    RedisServer& server(std::size_t index) { return cluster ? cluster->node(index) : *single; }

    std::optional<RedisServer> single;
    std::optional<RedisCluster> cluster;
};

std::vector<std::string> share(const Servers& servers, std::size_t first, std::size_t end, std::size_t step) {
    std::vector<std::string> urls;
    for (std::size_t i = first; i < end; i += step) {
        urls.push_back(servers.url(i));
    }
    return urls;
}

void fill(Servers& servers, const Plan& plan, const Sizes& sizes) {
    const double before = servers.sum("used_memory");
    const std::int64_t begin = nowNs();
    for (std::size_t i = 0; i < plan.gateways; ++i) {
        Site{servers.url(i), sizes.channels, sizes.group}.fill();
    }
    const double perGateway = (servers.sum("used_memory") - before) / static_cast<double>(plan.gateways);
    std::printf("%zu stores of %zu channels filled in %.1f s; %.1f KiB of the servers' memory each\n",
                plan.gateways, plan.channels, static_cast<double>(nowNs() - begin) / 1e9,
                perGateway / 1024.0);
}

/// What a kept change costs: one gateway writes many.
void measureLog(Servers& servers, const Sizes& sizes) {
    Site site{servers.url(0), sizes.channels, sizes.group};
    const double before = servers.memoryOf("tess:{gateway-0}:news");
    constexpr std::size_t GROUPS = 5'000;
    for (std::size_t i = 0; i < GROUPS; ++i) {
        site.write(nowNs());
    }
    const double grown = servers.memoryOf("tess:{gateway-0}:news") - before;
    std::printf("a change in the log of a store: %.0f bytes\n\n",
                grown / static_cast<double>(GROUPS * sizes.group));
}

double ms(std::int64_t ns) {
    return static_cast<double>(ns) / 1e6;
}

/// One line of the table.
void runStep(Servers& servers, const Plan& plan, const Sizes& sizes, double rate,
             const std::vector<std::unique_ptr<Process>>& writers, const Process& ears) {
    Step step;
    step.beginNs = nowNs() + SECOND_NS / 2;
    step.endNs = step.beginNs + plan.seconds * SECOND_NS;
    step.groupsPerSecond = rate * static_cast<double>(plan.gateways) / static_cast<double>(writers.size());
    const double cpu = servers.cpuSeconds();
    const double traffic = servers.trafficBytes();
    ears.begin(step);
    for (const auto& writer : writers) {
        writer->begin(step);
    }
    std::size_t groups = 0;
    for (const auto& writer : writers) {
        groups += writer->result().count;
    }
    const auto seconds = static_cast<double>(plan.seconds);
    const double cpuShare = (servers.cpuSeconds() - cpu) / seconds * 100.0;
    const double bytes = (servers.trafficBytes() - traffic) / seconds;
    const Result heard = ears.result();
    const double group = static_cast<double>(sizes.group);
    std::printf("| %8.0f | %8.0f | %8.2f | %8.2f | %8.2f | %6.0f %% | %6.2f |\n",
                rate * static_cast<double>(plan.gateways) * group,
                static_cast<double>(groups) * group / seconds, ms(heard.medianNs), ms(heard.p99Ns),
                ms(heard.mostNs), cpuShare, bytes / 1e6);
    std::fflush(stdout);
}

void run(const Plan& plan) {
    const Sizes sizes{plan.channels, std::max<std::size_t>(plan.channels / 100, 1)};
    Servers servers{plan.cluster};
    std::printf("### %s\n\n", plan.cluster ? "A cluster of three masters" : "One server");
    fill(servers, plan, sizes);
    std::vector<std::unique_ptr<Process>> writers;
    for (std::size_t i = 0; i < plan.writers; ++i) {
        writers.push_back(std::make_unique<Process>([&](const Channel& steps, const Channel& results) {
            writeFor(share(servers, i, plan.gateways, plan.writers), sizes, steps, results);
        }));
        writers.back()->result();
    }
    // Of the listened-to gateways one in each stretch, so that a cluster has some on every node.
    const std::size_t stretch = std::max<std::size_t>(plan.gateways / plan.listeners, 1);
    const Process ears{[&](const Channel& steps, const Channel& results) {
        listenTo(share(servers, 0, plan.gateways, stretch), sizes, steps, results);
    }};
    ears.result();
    measureLog(servers, sizes);
    std::printf("| asked, values/s | done, values/s | delay, median ms | 99th percentile ms | greatest ms "
                "| server CPU of one core | traffic MB/s |\n|---:|---:|---:|---:|---:|---:|---:|\n");
    for (const double rate : plan.rates) {
        runStep(servers, plan, sizes, rate, writers, ears);
    }
    std::printf("\n");
}

std::vector<double> numbersOf(const std::string& text) {
    std::vector<double> numbers;
    std::istringstream words{text};
    for (std::string word; std::getline(words, word, ',');) {
        numbers.push_back(std::stod(word));
    }
    return numbers;
}

Plan planOf(const std::vector<std::string>& words) {
    Plan plan;
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (words[i] == "--cluster") {
            plan.cluster = true;
            continue;
        }
        const std::string value = words.at(i + 1);
        if (words[i] == "--rates") {
            plan.rates = numbersOf(value);
        } else if (words[i] == "--gateways") {
            plan.gateways = std::stoul(value);
        } else if (words[i] == "--channels") {
            plan.channels = std::stoul(value);
        } else if (words[i] == "--writers") {
            plan.writers = std::stoul(value);
        } else if (words[i] == "--listeners") {
            plan.listeners = std::stoul(value);
        } else if (words[i] == "--seconds") {
            plan.seconds = std::stol(value);
        } else {
            throw std::invalid_argument{"no such option: " + words[i]};
        }
        ++i;
    }
    return plan;
}

} // namespace
} // namespace velk::benchmarks

int main(int count, char** arguments) {
    try {
        velk::benchmarks::run(velk::benchmarks::planOf({arguments + 1, arguments + count}));
        return 0;
    } catch (const std::exception& failure) {
        std::cerr << "velk-benchmark-gateways: " << failure.what() << "\n";
        return 1;
    }
}
