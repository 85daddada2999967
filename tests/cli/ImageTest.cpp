#include "cli/Failure.h"
#include "cli/ImageReader.h"
#include "cli/ImageWriter.h"
#include "tests/cli/RandomImage.h"

#include <gtest/gtest.h>

#include <sstream>

namespace velk::cli {
namespace {

std::string written(const tessapi::StoreImage& image) {
    std::ostringstream text;
    writeImage(text, image);
    return text.str();
}

/// A small image on known lines, for changes.
const std::string& sample() {
    static const std::string text = R"({
"format": "velk-store",
"version": 1,
"lastDevice": 1001,
"lastChannel": 1001,
"devices": [
{"id": 1, "uuid": "0d5b1b1e-7a52-4a2f-9a55-7f6f1c1e0001", "parent": null, "attributes": {}},
{"id": 20, "uuid": "00000000-0000-4000-8000-000000000020", "parent": 1, "attributes": {"7": "Inputs.1"}},
{"id": 1000, "uuid": "00000000-0000-4000-8000-000000001000", "parent": 20, "attributes": {}}],
"channels": [
{"id": 1000, "device": 20, "name": "A", "type": "float32", "value": {"float32": 230.1}, "written": 5, "changed": 4, "states": [], "triggers": []},
{"id": 1001, "device": 20, "name": "B", "type": "uint32", "value": null, "written": 0, "changed": 0, "states": [{"value": {"uint32": 1}, "name": "one"}], "triggers": []}],
"alarmEvents": [],
"writeRecords": [
{"number": 3, "time": 7, "program": "tess", "user": "alice", "path": "p", "asked": "1", "result": ""}]
}
)";
    return text;
}

/// What is said of the sample in which `what` has become `by`; empty when it is taken.
std::string complaint(const std::string& what, const std::string& by) {
    std::string text = sample();
    const auto at = text.find(what);
    EXPECT_NE(at, std::string::npos) << what;
    text.replace(at, what.size(), by);
    try {
        readImage("store.json", text);
        return "";
    } catch (const Failure& failure) {
        EXPECT_EQ(failure.exitCode(), ExitCode::Failed);
        return failure.what();
    }
}

/// How a value stands in the text.
std::string valueText(const qz::CValue& value) {
    tessapi::StoreImage image;
    image.content.channels.push_back({});
    image.content.channels.back().value = value;
    const std::string text = written(image);
    const std::string before = "\"value\": ";
    const auto begin = text.find(before) + before.size();
    return text.substr(begin, text.find(", \"written\"") - begin);
}

TEST(ImageTest, RandomImagesComeBackAsTheyWere) {
    for (unsigned int seed = 0; seed < 100; ++seed) {
        const std::string text = written(test::RandomImage{seed}.make());
        EXPECT_EQ(written(readImage("f", text)), text) << "seed " << seed;
    }
}

TEST(ImageTest, SampleIsTakenAndWrittenEqually) {
    const auto image = readImage("store.json", sample());
    EXPECT_EQ(image.content.devices.at(1).attributes[7], "Inputs.1");
    EXPECT_EQ(image.content.channels.at(0).value, qz::CValue{230.1F});
    EXPECT_FALSE(image.content.channels.at(1).initialized);
    EXPECT_EQ(*image.content.channels.at(1).states.find(qz::CValue{1U}), "one");
    EXPECT_EQ(image.writeRecords.at(0).user, "alice");
    EXPECT_EQ(written(image), sample());
}

TEST(ImageTest, ValuesNameTheirTypeAndLoseNothing) {
    EXPECT_EQ(valueText(qz::CValue{}), "null");
    EXPECT_EQ(valueText(qz::CValue{true}), "{\"boolean\": true}");
    EXPECT_EQ(valueText(qz::CValue{230.1F}), "{\"float32\": 230.1}");
    EXPECT_EQ(valueText(qz::CValue{0.1}), "{\"float64\": 0.1}");
    EXPECT_EQ(valueText(qz::CValue{-0.0}), "{\"float64\": -0}");
    EXPECT_EQ(valueText(qz::CValue{std::numeric_limits<float>::quiet_NaN()}), "{\"float32\": \"nan\"}");
    EXPECT_EQ(valueText(qz::CValue{-std::numeric_limits<double>::infinity()}), "{\"float64\": \"-inf\"}");
    EXPECT_EQ(valueText(qz::CValue{~std::uint64_t{0}}), "{\"uint64\": 18446744073709551615}");
    EXPECT_EQ(valueText(qz::CValue{qz::CTimestamp{7}}), "{\"timestamp\": {\"seconds\": 7}}");
    EXPECT_EQ(valueText(qz::CValue{qz::CTimestamp{7, "%T"}}),
              "{\"timestamp\": {\"seconds\": 7, \"format\": \"%T\"}}");
    EXPECT_EQ(valueText(qz::CValue{"a\n"}), "{\"string\": \"a\\n\"}");
    EXPECT_EQ(valueText(qz::CValue{"\xff"}), "{\"string\": {\"hex\": \"ff\"}}");
    EXPECT_EQ(valueText(qz::CValue{qz::CValue::Bytes{0, 0xab}}), "{\"binary\": \"00ab\"}");
}

TEST(ImageTest, AnotherFormatOrVersionIsRefusedAtItsPlace) {
    EXPECT_EQ(complaint("velk-store", "other"),
              "store.json:2:11: expected the format \"velk-store\", not \"other\"");
    EXPECT_EQ(complaint("\"version\": 1", "\"version\": 2"), "store.json:3:12: expected version 1, not 2");
}

TEST(ImageTest, WhatContradictsItselfIsRefusedAtItsPlace) {
    EXPECT_EQ(complaint("\"id\": 1000, \"uuid\"", "\"id\": 20, \"uuid\""),
              "store.json:9:1: the device 20 is there twice");
    EXPECT_EQ(complaint("0020\"", "1000\""),
              "store.json:9:1: the Uuid 00000000-0000-4000-8000-000000001000 is there twice");
    EXPECT_EQ(complaint("\"parent\": 20", "\"parent\": 77"), "store.json:9:1: the parent 77 is not there");
    EXPECT_EQ(complaint("\"parent\": 20", "\"parent\": 1000"),
              "store.json:9:1: the device 1000 is below itself");
    EXPECT_EQ(complaint("\"parent\": 1,", "\"parent\": 1000,"),
              "store.json:8:1: the device 20 is below itself");
    EXPECT_EQ(complaint("0d5b1b1e", "0d5b1b1f"),
              "store.json:7:1: the root of a store has the Uuid 0d5b1b1e-7a52-4a2f-9a55-7f6f1c1e0001");
    EXPECT_EQ(complaint("\"parent\": null", "\"parent\": 20"),
              "store.json:7:1: the root of a store has no parent");
    EXPECT_EQ(complaint("{\"id\": 1, ", "{\"id\": 2, "),
              "store.json:1:1: there is no device 1, the root of every store");
    EXPECT_EQ(complaint("\"lastDevice\": 1001", "\"lastDevice\": 999"),
              "store.json:9:1: the identifier 1000 is greater than lastDevice (999)");
    EXPECT_EQ(complaint("00000000-0000-4000-8000-000000000020", "00000000-0000-0000-0000-000000000000"),
              "store.json:8:1: a device has a Uuid that is not nil");
}

TEST(ImageTest, ChannelsThatCannotBeAreRefusedAtTheirPlace) {
    EXPECT_EQ(complaint("\"id\": 1001, ", "\"id\": 1000, "),
              "store.json:12:1: the channel 1000 is there twice");
    EXPECT_EQ(complaint("\"device\": 20, \"name\": \"B\"", "\"device\": 21, \"name\": \"B\""),
              "store.json:12:1: the device 21 is not there");
    EXPECT_EQ(complaint("\"name\": \"B\"", "\"name\": \"A\""),
              "store.json:12:1: the device 20 has \"A\" twice");
    EXPECT_EQ(complaint("{\"float32\": 230.1}", "{\"float64\": 230.1}"),
              "store.json:11:1: \"A\" takes float32, not float64");
    EXPECT_EQ(complaint("\"id\": 1001, ", "\"id\": 0, "),
              "store.json:12:1: an identifier is from 1 to 9007199254740991");
    EXPECT_EQ(complaint("\"lastChannel\": 1001", "\"lastChannel\": 1000"),
              "store.json:12:1: the identifier 1001 is greater than lastChannel (1000)");
    EXPECT_EQ(complaint("\"number\": 3", "\"number\": 0"), "store.json:15:1: the number 0 does not follow 0");
}

TEST(ImageTest, NumbersAfterWhichNoneCouldFollowAreRefused) {
    const std::string greatest{"9223372036854775807"};
    const std::string identifier{"an identifier is from 1 to 9007199254740991"};
    EXPECT_EQ(complaint("\"lastDevice\": 1001", "\"lastDevice\": " + greatest),
              "store.json:1:1: " + identifier);
    EXPECT_EQ(complaint("\"lastChannel\": 1001", "\"lastChannel\": " + greatest),
              "store.json:1:1: " + identifier);
    EXPECT_EQ(complaint("\"number\": 3", "\"number\": " + greatest),
              "store.json:15:1: a number is from 1 to 9007199254740991");
}

TEST(ImageTest, WhatIsNoImageIsRefusedAtItsPlace) {
    EXPECT_EQ(complaint("\"written\": 5", "\"wrote\": 5"), "store.json:11:1: \"written\" is missing");
    EXPECT_EQ(complaint("\"written\": 5", "\"written\": 5, \"note\": 1"),
              "store.json:11:111: unknown member \"note\"");
    EXPECT_EQ(complaint("\"written\": 5", "\"written\": 5, \"written\": 5"),
              "store.json:11:114: \"written\" is there twice");
    EXPECT_EQ(complaint("\"version\": 1,", "\"version\": 1, \"extra\": {},"),
              "store.json:3:24: unknown member \"extra\"");
    EXPECT_EQ(complaint("{\"float32\": 230.1}", "230.1"),
              "store.json:11:69: expected a value as {\"float32\": 1.5}, or null");
    EXPECT_EQ(complaint("{\"float32\": 230.1}", "{\"float\": 230.1}"),
              "store.json:11:79: there is no type \"float\"");
    EXPECT_EQ(complaint("230.1}", "1e99}"), "store.json:11:81: the number 1e99 does not fit here");
    EXPECT_EQ(complaint("\"id\": 20", "\"id\": 2.5"), "store.json:8:8: the number 2.5 does not fit here");
    EXPECT_EQ(complaint("{\"7\": ", "{\"16\": "), "store.json:8:94: unknown member \"16\"");
    EXPECT_EQ(
        complaint("\"uint32\": 1}, \"name\": \"one\"}",
                  "\"uint32\": 1}, \"name\": \"one\"}, {\"value\": {\"int32\": 1}, \"name\": \"again\"}"),
        "store.json:12:154: the state is there already");
    EXPECT_EQ(complaint("{\"float32\": 230.1}", "{\"binary\": \"0\"}"),
              "store.json:11:80: expected two digits a byte, not 0");
    EXPECT_EQ(complaint("{\"float32\": 230.1}", "{\"binary\": \"0x\"}"),
              "store.json:11:80: expected bytes in hexadecimal, not 0x");
    EXPECT_EQ(complaint("{\"float32\": 230.1}", "{\"float32\": \"many\"}"),
              "store.json:11:81: expected a number, \"nan\", \"inf\" or \"-inf\"");
    EXPECT_EQ(complaint("\"alarmEvents\": []", "\"alarmEvents\": {}"),
              "store.json:13:16: \"alarmEvents\": expected an array");
    EXPECT_NE(complaint("\"lastChannel\"", "lastChannel").find("store.json:5:1: "), std::string::npos);
}

TEST(ImageTest, ALevelThatNoAlarmHasIsRefusedAtItsPlace) {
    const std::string trigger =
        R"("triggers": [{"level": 99, "type": 1, "threshold1": null, "threshold2": null, )"
        R"("priority": 0, "code": "", "extra": null, "extraWord": 0}]}])";
    EXPECT_EQ(complaint("\"triggers\": []}]", trigger), "store.json:12:178: there is no alarm level 99");
    const std::string event =
        R"("alarmEvents": [{"number": 1, "time": 1, "raised": true, "device": 20, "channel": 1000, "place": "", )"
        R"("name": "", "code": "", "message": "", "level": 3, "priority": 0, "type": 1, "value": null, )"
        R"("threshold1": null, "threshold2": null}])";
    EXPECT_NE(complaint("\"alarmEvents\": []", event).find("there is no alarm level 3"), std::string::npos);
}

TEST(ImageTest, ElementsMayTakeSeveralLinesAndHoldBracketsInTheirTexts) {
    EXPECT_EQ(complaint("{\"float32\": 230.1}", "{\"float32\":\n  \"many\"}"),
              "store.json:12:3: expected a number, \"nan\", \"inf\" or \"-inf\"");
    EXPECT_EQ(complaint("\"name\": \"A\"", "\"name\": \"A]},[{\\\"\""), "");
    EXPECT_EQ(complaint("\"alarmEvents\": []", "\"alarmEvents\": [ 7 ]"),
              "store.json:13:18: expected an object");
    EXPECT_EQ(complaint("\"alarmEvents\": []", "\"alarmEvents\": [\n  {}\n]"),
              "store.json:14:3: \"number\" is missing");
}

TEST(ImageTest, WhatIsNoListOfElementsIsRefused) {
    EXPECT_NE(complaint("\"alarmEvents\": []", "\"alarmEvents\": [,]"), "");
    EXPECT_NE(complaint("\"alarmEvents\": []", "\"alarmEvents\": [}"), "");
    EXPECT_NE(complaint("\"attributes\": {}}],", "\"attributes\": {}} 5],"), "");
    EXPECT_NE(complaint("\"attributes\": {}}],", "\"attributes\": {}},],"), "");
    EXPECT_NE(complaint("\"result\": \"\"}]", "\"result\": \"\"}"), "");
}

TEST(ImageTest, AnyChangeOfATextIsReadOrRefused) {
    std::mt19937 random{4};
    const std::string whole = written(test::RandomImage{11}.make());
    unsigned int refused = 0;
    for (int round = 0; round < 1000; ++round) {
        std::string text = whole;
        for (unsigned int changes = 1 + random() % 3; changes > 0; --changes) {
            const std::size_t at = random() % text.size();
            switch (random() % 4) {
            case 0:
                text[at] = static_cast<char>(random());
                break;
            case 1:
                text.erase(at, 1 + random() % 20);
                break;
            case 2:
                text.insert(at, text.substr(random() % text.size(), 1 + random() % 20));
                break;
            default:
                text[at] = "0123456789{}[]\",:"[random() % 17];
            }
            if (text.empty()) {
                break;
            }
        }
        try {
            const std::string again = written(readImage("f", text));
            EXPECT_EQ(written(readImage("f", again)), again);
        } catch (const Failure& failure) {
            EXPECT_EQ(std::string{failure.what()}.rfind("f:", 0), 0U) << failure.what();
            ++refused;
        }
    }
    EXPECT_GT(refused, 300U);
}

} // namespace
} // namespace velk::cli
