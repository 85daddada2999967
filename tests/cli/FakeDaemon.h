#pragma once

#include "cli/JournalEntry.h"
#include "tests/cli/SampleStore.h"

#include <atomic>
#include <chrono>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>

namespace velk::cli::test {

/// Answers each write of one channel as the daemon would: with a note in its journal.
class FakeDaemon {
public:
    enum class Answer { Accept, Refuse, Silent };

    /// `asked` is the text by which the note names the value.
    FakeDaemon(SampleStore& sample, std::uint64_t device, const std::string& name,
               const std::string& devicePath, const std::string& asked, Answer answer) :
        inband{sample.store->inbandAccessor()} {
        const std::uint64_t own = sample.store->emplaceDevice(JournalEntry::deviceUuid(), 1, 0);
        sample.text(own, tessapi::DeviceAttribute::path, "Daemon");
        const std::uint64_t writes = inband.emplaceChannel(own, JournalEntry::WRITES, false);
        const std::uint64_t last = inband.emplaceChannel(own, JournalEntry::LAST_WRITE, false);
        const bool accepted = answer == Answer::Accept;
        const nlohmann::ordered_json note{
            {"sequence", 1},
            {"device", devicePath},
            {"channel", name},
            {"asked", asked},
            {"accepted", accepted},
            {"error", accepted ? nlohmann::ordered_json(nullptr) : "out of range"},
            {"time", "2099-01-01T00:00:00.000Z"}};
        // A write may still be on its way when this object goes, but not when the sample does.
        const auto reply = [count = counter, &answers = inband, note, writes, last,
                            answer](std::uint64_t, const qz::CValue&) {
            ++*count;
            if (answer != Answer::Silent) {
                answers.setChannelCValue(writes, qz::CValue{nlohmann::ordered_json::array({note}).dump()});
                answers.setChannelCValue(last, qz::CValue{note.dump()});
            }
        };
        inband.subscribeMultipleChannels({sample.channel(device, name)}, reply, qz::sub::everyWrite,
                                         &subscription);
    }

    ~FakeDaemon() { inband.unsubscribe(subscription); }
    FakeDaemon(const FakeDaemon&) = delete;
    FakeDaemon& operator=(const FakeDaemon&) = delete;

    /// How many writes it has heard of.
    int heard() const { return *counter; }

    /// The same, once there are so many of them; who writes need not wait for that.
    int awaitHeard(int writes) const {
        for (int i = 0; i < 3000 && heard() < writes; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds{10});
        }
        return heard();
    }

private:
    tessapi::InBandAccessor& inband;
    const std::shared_ptr<std::atomic<int>> counter{std::make_shared<std::atomic<int>>(0)};
    std::uint64_t subscription{0};
};

} // namespace velk::cli::test
