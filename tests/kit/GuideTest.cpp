// What the guide for authors of plug-ins shows and no other file of the house holds; and that each of its
// blocks is one that is compiled and run, here or in the skeleton.

#include "platform/tessapi/catalogue/Catalogue.h"
#include "powerdistribution/core/Paths.h"
#include "powerdistribution/core/Vocabulary.h"
#include "powerdistribution/protocols/Converter.h"
#include "powerdistribution/protocols/RuleFunctions.h"
#include "powerdistribution/protocols/RuleTable.h"
#include "testing/FakeWrapper.h"
#include "testing/FakeWrapperFactory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fnmatch.h>
#include <fstream>
#include <map>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

using namespace velk::powerdistribution;
using namespace velk::powerdistribution::protocols;

std::string contentOf(const std::string& file) {
    std::ostringstream text;
    text << std::ifstream{file}.rdbuf();
    return text.str();
}

/// A device that says "on" and "off".
class SwitchConverter final : public Converter {
public:
    using Converter::Converter;
    Value rawToConverted(const Value& raw) const override { return Value{raw.get<std::string>() == "on"}; }
    Value convertedToRaw(const Value& value) const override {
        return Value{std::string{value.get<bool>() ? "on" : "off"}};
    }
};

/// What the device of these tables has; null for everything else.
BuildFunc point(const std::string& name) {
    static const std::map<std::string, Value> device{
        {"millivolts", Value{230400.0F}}, {"percent", Value{50.0F}},
        {"volts", Value{230.0F}},         {"amperes", Value{2.0F}},
        {"kelvin", Value{300.0F}},        {"nominal", Value{1000.0F}},
        {"out of range", Value{false}},   {"switch", Value{std::string{"on"}}},
    };
    return [name](const Rule::BuildFuncParameters&) -> ValueWrapperPtr {
        const auto entry = device.find(name);
        return entry == device.end() ? nullptr : velk::testing::FakeWrapper::of(entry->second);
    };
}

const std::vector<Rule>& rules() {
    using enum ECircuit;
    using enum EMeasurement;
    using enum EStatus;
    // clang-format off
    static const std::vector<Rule> forest = growRules({
        {{Inputs, 1u, Voltage},       div(point("millivolts"), 1000.0f)},
        {{Inputs, 1u, PowerFactor},   div(point("percent"), 100.0f)},
        {{Inputs, 1u, ApparentPower}, mult(point("volts"), point("amperes"))},
        {{Inputs, 1u, Temperature},   add(point("kelvin"), -273.15f)},
        {{Inputs, 1u, CurrentAvailable}, posSub(16.0f, point("amperes"))},
        {{Outputs, 1u, Current},      make_negative(point("amperes"))},
        {{Outputs, 1u, ActivePower},  multWithPercent(point("nominal"), point("percent"))},
        {{Inputs, oneTo(2), VoltageOutOfRange}, make_if(hasVoltageMeasure, point("out of range"))},
        {{Inputs, oneTo(2), Frequency},         make_if(hasVoltageMeasure, point("hertz"), make_static<float>(50.0f))},
        {{Outputs, anyIndex, Supply},           make_converter<SwitchConverter>(point("switch"))},
    });
    // clang-format on
    return forest;
}

/// The factory of the tables above.
class GuideFactory final : public IWrapperFactory {
public:
    const velk::common::Uuid& protocolUuid() const override { return velk::common::Uuid::VELK_NAMESPACE; }
    ValueWrapperPtr buildWrapper(const EPath& path) const override {
        const std::any noArgument;
        Rule::ExecutionParameters parameters{path, 0, *this, nullptr, noArgument};
        return RuleBasedWrapperBuilder{rules()}.buildWrapper(parameters);
    }
};

Value read(const EPath& path) {
    const auto wrapper = GuideFactory{}.buildWrapper(path);
    return wrapper ? wrapper->read() : Value{std::string{"null"}};
}

TEST(GuideTest, ConvertersGiveWhatTheGuideSays) {
    EXPECT_EQ(read({ECircuit::Inputs, 1U, EMeasurement::Voltage}), Value{230.4F});
    EXPECT_EQ(read({ECircuit::Inputs, 1U, EMeasurement::PowerFactor}), Value{0.5F});
    EXPECT_EQ(read({ECircuit::Inputs, 1U, EMeasurement::ApparentPower}), Value{460.0F});
    EXPECT_NEAR(read({ECircuit::Inputs, 1U, EMeasurement::Temperature}).get<float>(), 26.85F, 0.001F);
    EXPECT_EQ(read({ECircuit::Inputs, 1U, EMeasurement::CurrentAvailable}), Value{14.0F});
    EXPECT_EQ(read({ECircuit::Outputs, 1U, EMeasurement::Current}), Value{-2.0F});
    EXPECT_EQ(read({ECircuit::Outputs, 1U, EMeasurement::ActivePower}), Value{500.0F});
}

TEST(GuideTest, ConditionsHoldWhereTheirDataPointIs) {
    EXPECT_EQ(read({ECircuit::Inputs, 1U, EStatus::VoltageOutOfRange}), Value{false});
    EXPECT_EQ(read({ECircuit::Inputs, 2U, EStatus::VoltageOutOfRange}), Value{std::string{"null"}});
    EXPECT_EQ(read({ECircuit::Inputs, 1U, EMeasurement::Frequency}), Value{50.0F}) << "nothing says hertz";
    EXPECT_EQ(read({ECircuit::Inputs, 2U, EMeasurement::Frequency}), Value{std::string{"null"}})
        << "it is no else";
    EXPECT_EQ(read({ECircuit::Outputs, 7U, EStatus::Supply}), Value{true});
}

TEST(GuideTest, ValueTakesExactlyItsAlternatives) {
    const Value voltage{230.0F};
    const Value count{std::uint32_t{2}};
    const Value delay{std::int32_t{-1}};
    const Value name{std::string{"Rack light"}};
    const Value nothing;
    EXPECT_EQ(typeName(voltage) + " " + typeName(count) + " " + typeName(delay) + " " + typeName(name) + " " +
                  typeName(nothing),
              "float uint32_t int32_t std::string empty");
}

TEST(GuideTest, WrapperAroundAnotherIsTestedWithAFake) {
    const auto device = std::make_shared<velk::testing::FakePoint>(Value{std::string{"off"}});
    SwitchConverter converter{velk::testing::FakeWrapper::on(device)};
    EXPECT_EQ(converter.read(), Value{false});
    EXPECT_TRUE(converter.write(Value{true}));
    EXPECT_EQ(device->value(), Value{std::string{"on"}});
}

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream{text};
    for (std::string line; std::getline(stream, line);) {
        const std::size_t first = line.find_first_not_of(' ');
        lines.push_back(first == std::string::npos ? std::string{} : line.substr(first));
    }
    return lines;
}

/// A block of the guide, and the file that its mark names.
struct Block {
    std::size_t line{0}; ///< where it begins
    std::string language;
    std::string from;
    std::vector<std::string> lines;
};

std::vector<Block> blocksOf(const std::vector<std::string>& guide) {
    std::vector<Block> blocks;
    std::optional<Block> open;
    for (std::size_t i = 0; i < guide.size(); ++i) {
        const std::string& line = guide[i];
        if (line.rfind("```", 0) == 0 && open) {
            blocks.push_back(*open);
            open.reset();
        } else if (line.rfind("```", 0) == 0) {
            const std::string mark = i == 0 ? "" : guide[i - 1];
            const std::string begin = "<!-- from ";
            const bool isMarked = mark.rfind(begin, 0) == 0;
            open = Block{i + 1,
                         line.substr(3),
                         isMarked ? mark.substr(begin.size(), mark.size() - begin.size() - 4) : "",
                         {}};
        } else if (open) {
            open->lines.push_back(line);
        }
    }
    return blocks;
}

std::string asMeter(std::string text) {
    const std::string name = "@NAME@";
    for (std::size_t at = 0; (at = text.find(name, at)) != std::string::npos;) {
        text.replace(at, name.size(), "meter");
    }
    return text;
}

TEST(GuideTest, EveryBlockIsOneThatIsCompiledAndRun) {
    const std::string root = std::string{VELK_SOURCE_DIR} + "/";
    std::size_t compared = 0;
    for (const Block& block : blocksOf(linesOf(contentOf(root + "docs/plugin-guide.md")))) {
        if (block.language == "console") {
            continue; // guide-run.sh does what it says
        }
        ASSERT_NE(block.from, "") << "the block in line " << block.line << " does not say where it is from";
        const std::vector<std::string> source = linesOf(asMeter(contentOf(root + block.from)));
        ASSERT_GT(block.lines.size(), 0U);
        EXPECT_NE(std::search(source.begin(), source.end(), block.lines.begin(), block.lines.end()),
                  source.end())
            << "the block in line " << block.line << " is not what " << block.from << " holds";
        ++compared;
    }
    EXPECT_GE(compared, 18U);
}

/// A pattern of names in the guide's table of types, such as "Setting.*Enabled".
struct TypeRow {
    std::string pattern;
    std::string type;
};

/// How much of a name the pattern spells out, but for the family.
std::size_t exactnessOf(const std::string& pattern) {
    const std::size_t dot = pattern.find('.');
    const std::string member = dot == std::string::npos ? pattern : pattern.substr(dot + 1);
    return member.size() - static_cast<std::size_t>(std::count(member.begin(), member.end(), '*'));
}

std::string replaced(std::string text, const std::string& what, const std::string& by) {
    for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += by.size()) {
        text.replace(at, what.size(), by);
    }
    return text;
}

/// The names between backticks in a cell; one without family has that of the one before.
std::vector<std::string> patternsIn(const std::string& cell) {
    std::vector<std::string> patterns;
    std::string family;
    for (std::size_t begin = 0; (begin = cell.find('`', begin)) != std::string::npos;) {
        const std::size_t end = cell.find('`', begin + 1);
        const std::string name = replaced(cell.substr(begin + 1, end - begin - 1), "…", "*");
        const std::size_t dot = name.find('.');
        family = dot == std::string::npos ? family : name.substr(0, dot + 1);
        patterns.push_back(dot == std::string::npos ? family + name : name);
        begin = end + 1;
    }
    return patterns;
}

/// The rows of the table whose head is "| Names | Type | Unit |".
std::vector<TypeRow> typeRowsOf(const std::vector<std::string>& guide) {
    std::vector<TypeRow> rows;
    auto line = std::find(guide.begin(), guide.end(), "| Names | Type | Unit |");
    for (; line != guide.end() && line->rfind('|', 0) == 0; ++line) {
        const std::size_t names = line->find(" | ");
        const std::string type = line->substr(names + 3, line->find_first_of(" ,", names + 3) - names - 3);
        for (const std::string& pattern : patternsIn(line->substr(0, names))) {
            rows.push_back({pattern, type});
        }
    }
    return rows;
}

std::string typeInTheGuide(const std::vector<TypeRow>& rows, const std::string& name) {
    const TypeRow* best = nullptr;
    for (const TypeRow& row : rows) {
        const bool matches = fnmatch(row.pattern.c_str(), name.c_str(), 0) == 0;
        if (matches && (best == nullptr || exactnessOf(row.pattern) > exactnessOf(best->pattern))) {
            best = &row;
        }
    }
    return best == nullptr ? "none" : best->type;
}

TEST(GuideTest, TypesAreThoseOfTheCatalogue) {
    const auto rows = typeRowsOf(linesOf(contentOf(std::string{VELK_SOURCE_DIR} + "/docs/plugin-guide.md")));
    const std::map<qz::datatype, std::string> words{
        {qz::datatype::boolean, "bool"},       {qz::datatype::int32, "int32"},
        {qz::datatype::uint32, "uint32"},      {qz::datatype::float32, "float"},
        {qz::datatype::timestamp, "UnixTime"}, {qz::datatype::string, "text"},
    };
    const std::set<std::string> families{"Measure", "Specification",      "Setting", "Status", "Attribute",
                                         "Action",  "CommunicationStatus"};
    std::size_t compared = 0;
    for (const auto& [channel, entry] : tessapi::Catalogue::builtin().entries()) {
        const std::string name = replaced(channel, "PowerDistribution.", "");
        const std::string family = name.substr(0, name.find('.'));
        if (families.count(family) != 0 && name != "Status.OperatingStatus" && name != "Status.HealthState") {
            EXPECT_EQ(typeInTheGuide(rows, name), words.at(entry.type)) << name;
            ++compared;
        }
    }
    EXPECT_GT(compared, 200U);
}

} // namespace
