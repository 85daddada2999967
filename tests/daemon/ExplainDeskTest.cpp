#include "daemon/ExplainDesk.h"

#include "cli/Communication.h"
#include "cli/Inquiry.h"
#include "cli/JournalEntry.h"
#include "cli/StoreView.h"
#include "daemon/QuestionDesk.h"
#include "platform/tessapi/InBandAccessor.h"
#include "platform/tessapi/TessAccessor.h"
#include "testing/FakeClock.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>
#include <stdexcept>
#include <thread>

// Questions are asked by one program and answered by another; here both meet.

namespace velk::daemon {
namespace {

using Json = nlohmann::ordered_json;
using cli::Inquiry;
using powerdistribution::PointDescription;
using powerdistribution::PointPublisher;

constexpr std::int64_t IN_1970 = 1000; ///< ms; the clock of the asker does not matter

class ExplainDeskTest : public ::testing::Test {
protected:
    using Opened = std::unique_ptr<tessapi::ITessAccessor>;

    Opened open() const { return tessapi::TessAccessor::open("test", "memory:explain-desk"); }

    /// Asks as tess does; waits as long as it takes, or not at all.
    Inquiry::Result ask(const std::string& path, std::chrono::seconds timeout = std::chrono::seconds{30}) {
        cli::Session session{*asker,
                             in,
                             out,
                             out,
                             velk::common::Clock::system(),
                             false,
                             false,
                             cli::Style{false},
                             [] { return IN_1970; }};
        const cli::StoreView view{asker->browser().snapshot()};
        return Inquiry::ask(session, cli::Communication{view}, path, timeout);
    }

    Json answerTo(const std::string& path) { return ask(path).answer.value(); }

    /// Writes a question by hand.
    void write(const std::string& text) {
        tessapi::InBandAccessor& inband = asker->inbandAccessor();
        const std::uint64_t device = asker->deviceIdOf(cli::JournalEntry::deviceUuid());
        inband.setChannelCValue(inband.getCatchedChannelId(device, ExplainDesk::REQUEST), qz::CValue{text});
    }

    std::istringstream in;
    std::ostringstream out;
    std::ostringstream errors;
    Opened asker{open()};
    ExplainDesk desk{[this] { return open(); }, errors};
};

TEST_F(ExplainDeskTest, BothKnowTheSameChannels) {
    EXPECT_STREQ(ExplainDesk::REQUEST, Inquiry::REQUEST);
    EXPECT_STREQ(ExplainDesk::ANSWER, Inquiry::ANSWER);
}

TEST_F(ExplainDeskTest, QuestionIsAnsweredWithEverythingThatIsKnown) {
    desk.open();
    desk.setDescribe([](const std::string& path) {
        PointPublisher publisher;
        publisher.kind = "reading";
        publisher.plugin = "/lib/plug.so";
        publisher.rule = "rule of " + path;
        publisher.rank = 4;
        publisher.reads = 12;
        publisher.sinceRead = std::chrono::seconds{5};
        publisher.period = std::chrono::milliseconds{2150};
        publisher.gaveNothing = true;
        publisher.failure = "no answer";
        publisher.sinceFailure = std::chrono::seconds{60};
        PointDescription description;
        description.modelBuilt = true;
        description.publishers.push_back(publisher);
        return description;
    });
    const Json answer = answerTo("Inputs.1.Measure.Voltage");
    EXPECT_EQ(answer["path"], "Inputs.1.Measure.Voltage");
    EXPECT_EQ(answer["modelBuilt"], true);
    EXPECT_TRUE(answer["modelError"].is_null());
    ASSERT_EQ(answer["publishers"].size(), 1U);
    const Json& publisher = answer["publishers"][0];
    EXPECT_EQ(publisher["kind"], "reading");
    EXPECT_EQ(publisher["plugin"], "/lib/plug.so");
    EXPECT_EQ(publisher["rule"], "rule of Inputs.1.Measure.Voltage");
    EXPECT_EQ(publisher["rank"], 4);
    EXPECT_EQ(publisher["reads"], 12);
    EXPECT_EQ(publisher["periodSeconds"], 2.15);
    EXPECT_EQ(publisher["gaveNothing"], true);
    EXPECT_EQ(publisher["error"], "no answer");
    EXPECT_EQ(publisher["lastReadMs"].get<std::int64_t>() - publisher["errorMs"].get<std::int64_t>(), 55'000);
}

TEST_F(ExplainDeskTest, WhatIsNotKnownIsNull) {
    desk.open();
    desk.setDescribe([](const std::string&) {
        PointDescription description;
        description.modelFailure = "wrong type";
        description.publishers.emplace_back();
        return description;
    });
    const Json answer = answerTo("Status.Mode");
    EXPECT_EQ(answer["modelBuilt"], false);
    EXPECT_EQ(answer["modelError"], "wrong type");
    for (const char* name : {"plugin", "rule", "rank", "lastReadMs", "periodSeconds", "error", "errorMs"}) {
        EXPECT_TRUE(answer["publishers"][0][name].is_null()) << name;
    }
}

TEST_F(ExplainDeskTest, WithoutAManagerTheAnswerIsThatNothingIsKnown) {
    desk.open();
    EXPECT_EQ(answerTo("Status.Mode")["modelBuilt"], false);
    desk.setDescribe([](const std::string&) { return PointDescription{true, "", {}}; });
    EXPECT_EQ(answerTo("Status.Mode")["modelBuilt"], true);
    desk.setDescribe({});
    EXPECT_EQ(answerTo("Status.Mode")["modelBuilt"], false);
}

TEST_F(ExplainDeskTest, ManyMayAskAtOnceAndEachGetsItsOwnAnswer) {
    desk.open();
    std::vector<std::thread> askers;
    std::vector<std::string> told(8);
    for (std::size_t i = 0; i < told.size(); ++i) {
        askers.emplace_back([this, i, &told] {
            const Opened own = open();
            std::istringstream nothing;
            std::ostringstream words;
            cli::Session session{*own,
                                 nothing,
                                 words,
                                 words,
                                 velk::common::Clock::system(),
                                 false,
                                 false,
                                 cli::Style{false},
                                 [] { return IN_1970; }};
            const cli::StoreView view{own->browser().snapshot()};
            const auto result = Inquiry::ask(session, cli::Communication{view},
                                             "Outlets." + std::to_string(i), std::chrono::seconds{30});
            told[i] = result.answer ? result.answer->value("path", "") : result.silence;
        });
    }
    for (std::thread& each : askers) {
        each.join();
    }
    for (std::size_t i = 0; i < told.size(); ++i) {
        EXPECT_EQ(told[i], "Outlets." + std::to_string(i));
    }
}

TEST_F(ExplainDeskTest, WhatIsNoQuestionIsPassedOver) {
    desk.open();
    int asked = 0;
    desk.setDescribe([&asked](const std::string&) {
        ++asked;
        return PointDescription{};
    });
    for (const char* text : {"", "nonsense", "[]", "5", "{}", R"({"id":"1"})", R"({"path":"x"})",
                             R"({"id":1,"path":"x"})", R"({"id":"1","path":null})"}) {
        write(text);
    }
    write(Json{{"id", "1"}, {"path", std::string(LONGEST_QUESTION, 'x')}}.dump());
    EXPECT_EQ(answerTo("Status.Mode")["path"], "Status.Mode");
    desk.setDescribe({});
    EXPECT_EQ(asked, 1);
}

TEST_F(ExplainDeskTest, TheTimeOfAQuestionCountsFromItsArrivalByTheDaemonsClock) {
    desk.open();
    std::vector<std::string> answered; // of the client thread until the last answer
    tessapi::InBandAccessor& inband = asker->inbandAccessor();
    const std::uint64_t device = asker->deviceIdOf(cli::JournalEntry::deviceUuid());
    inband.subscribeMultipleChannels(
        {inband.getCatchedChannelId(device, ExplainDesk::ANSWER)},
        [&answered](std::uint64_t, const qz::CValue& value) {
            answered.push_back(Json::parse(value.as_string())["path"].get<std::string>());
        },
        qz::sub::everyWrite, nullptr);
    write(R"({"id":"1","path":"late","forMs":0})");
    write(R"({"id":"2","path":"of a slow clock","untilMs":1,"forMs":60000})");
    EXPECT_EQ(answerTo("last")["path"], "last");
    asker.reset();
    EXPECT_EQ(answered, (std::vector<std::string>{"of a slow clock", "last"}));
}

TEST_F(ExplainDeskTest, TextThatIsNoUtf8IsAnsweredAllTheSame) {
    desk.open();
    desk.setDescribe([](const std::string&) { return PointDescription{true, "bad \xff text", {}}; });
    EXPECT_EQ(answerTo("a \xff path")["modelBuilt"], true);
}

TEST_F(ExplainDeskTest, WithoutADaemonNobodyWaits) {
    const Inquiry::Result result = ask("Status.Mode");
    EXPECT_FALSE(result.answer);
    EXPECT_EQ(result.silence, "no daemon has ever answered questions in this store");
}

TEST_F(ExplainDeskTest, StoreThatFailsIsReportedOnceAndOpenedLater) {
    bool broken = true;
    ExplainDesk late{[&]() -> Opened {
                         if (broken) {
                             throw std::runtime_error{"no store"};
                         }
                         return open();
                     },
                     errors};
    late.open();
    late.open();
    EXPECT_EQ(errors.str(), "powerdistributiond: questions of tess explain cannot be heard: no store\n");
    broken = false;
    late.open();
    EXPECT_EQ(answerTo("Status.Mode")["path"], "Status.Mode");
}

} // namespace
} // namespace velk::daemon
