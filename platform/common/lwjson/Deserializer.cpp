#include "platform/common/lwjson/Deserializer.h"

#include "platform/common/lwjson/JsonError.h"
#include "platform/common/lwjson/JsonSource.h"
#include "platform/common/lwjson/NodeData.h"

#include <deque>
#include <nlohmann/json.hpp>

namespace velk::common::lwjson {

struct Deserializer::Document {
    /// A deque, so that nodes stay where they are while others are added.
    std::deque<Node::Data> nodes;
    std::vector<Node> root;
};

namespace {

using Json = nlohmann::json;

/// Takes the parser's events and finds each value's place in the source, which the events do not tell.
class TreeBuilder : public nlohmann::json_sax<Json> {
public:
    TreeBuilder(JsonSource& json, std::deque<Node::Data>& store, std::vector<Node>& rootStore) :
        source{json}, nodes{store}, root{rootStore} {}

    bool null() override { return addLiteral(ValueType::Null, 4); }
    bool boolean(bool value) override { return addLiteral(ValueType::Boolean, value ? 4 : 5); }
    bool number_integer(number_integer_t /*value*/) override { return addNumber(); }
    bool number_unsigned(number_unsigned_t /*value*/) override { return addNumber(); }
    bool number_float(number_float_t /*value*/, const string_t& /*text*/) override { return addNumber(); }

    bool string(string_t& value) override {
        add(ValueType::String, tokenBegin()).text = std::move(value);
        scanned = source.offset();
        return true;
    }

    bool binary(binary_t& /*value*/) override { return false; }

    bool start_object(std::size_t /*elements*/) override { return open(ValueType::Object); }
    bool end_object() override { return close(); }
    bool start_array(std::size_t /*elements*/) override { return open(ValueType::Array); }
    bool end_array() override { return close(); }

    bool key(string_t& value) override {
        memberName = std::move(value);
        scanned = source.offset();
        return true;
    }

    bool parse_error(std::size_t /*position*/, const std::string& /*token*/,
                     const nlohmann::detail::exception& failure) override {
        const std::size_t stop = source.isExhausted() ? source.offset() : source.offset() - 1;
        throw JsonError{source.positionOf(stop), reason(failure.what())};
    }

private:
    struct Open {
        Node::Data* node;
        std::size_t begin;
    };

    /// The parser's message without its own prefix and position.
    static std::string reason(const std::string& message) {
        constexpr std::string_view POSITION_MARK = ", column ";
        const std::size_t mark = message.find(POSITION_MARK);
        const std::size_t end = mark == std::string::npos ? mark : message.find(": ", mark);
        return end == std::string::npos ? message : message.substr(end + 2);
    }

    /// Where the token of the present event begins: behind the one before and what may stand between them.
    std::size_t tokenBegin() const {
        const std::size_t begin = source.all().find_first_not_of(" \t\r\n,:\xEF\xBB\xBF", scanned);
        return begin == std::string_view::npos ? source.all().size() : begin;
    }

    Node::Data& add(ValueType type, std::size_t begin) {
        Node::Data& node = nodes.emplace_back();
        node.name = std::exchange(memberName, {});
        node.type = type;
        node.position = source.positionOf(begin);
        (opened.empty() ? root : opened.back().node->children).emplace_back(node);
        return node;
    }

    bool addSlice(ValueType type, std::size_t begin, std::size_t length) {
        add(type, begin).text = source.all().substr(begin, length);
        scanned = begin + length;
        return true;
    }

    bool addLiteral(ValueType type, std::size_t length) { return addSlice(type, tokenBegin(), length); }

    bool addNumber() {
        const std::size_t begin = tokenBegin();
        const std::size_t end = source.all().find_first_not_of("0123456789+-.eE", begin);
        const std::string_view number = source.all().substr(begin, end - begin);
        const bool isFloat = number.find_first_of(".eE") != std::string_view::npos;
        return addSlice(isFloat ? ValueType::Float : ValueType::Integer, begin, number.size());
    }

    bool open(ValueType type) {
        const std::size_t begin = tokenBegin();
        if (opened.size() == Deserializer::MAX_DEPTH) {
            throw JsonError{source.positionOf(begin),
                            "nested deeper than " + std::to_string(Deserializer::MAX_DEPTH) + " levels"};
        }
        Node::Data& node = add(type, begin);
        opened.push_back({&node, begin});
        scanned = source.offset();
        return true;
    }

    bool close() {
        const Open closed = opened.back();
        opened.pop_back();
        scanned = source.offset();
        closed.node->text = source.all().substr(closed.begin, scanned - closed.begin);
        return true;
    }

    JsonSource& source;
    std::deque<Node::Data>& nodes;
    std::vector<Node>& root;
    std::vector<Open> opened;
    std::string memberName;
    std::size_t scanned{0};
};

} // namespace

Deserializer::Deserializer(std::string_view json) : document{std::make_unique<Document>()} {
    JsonSource source{json};
    TreeBuilder builder{source, document->nodes, document->root};
    Json::sax_parse(source.begin(), source.end(), &builder);
    // The parser takes a NUL byte for the end of its input.
    if (const std::size_t nul = json.find('\0'); nul != std::string_view::npos) {
        throw JsonError{source.positionOf(nul), "unexpected NUL byte"};
    }
}

Deserializer::~Deserializer() = default;
Deserializer::Deserializer(Deserializer&&) noexcept = default;
Deserializer& Deserializer::operator=(Deserializer&&) noexcept = default;

const Node& Deserializer::root() const {
    return document->root.front();
}

template <>
bool Deserializer::extractValue<bool>(const Node& node) {
    return node.asBool();
}

template <>
std::int32_t Deserializer::extractValue<std::int32_t>(const Node& node) {
    return node.asInt32();
}

template <>
std::uint32_t Deserializer::extractValue<std::uint32_t>(const Node& node) {
    return node.asUint32();
}

template <>
std::int64_t Deserializer::extractValue<std::int64_t>(const Node& node) {
    return node.asInt64();
}

template <>
float Deserializer::extractValue<float>(const Node& node) {
    return node.asFloat();
}

template <>
double Deserializer::extractValue<double>(const Node& node) {
    return node.asDouble();
}

template <>
std::string Deserializer::extractValue<std::string>(const Node& node) {
    return node.asString();
}

} // namespace velk::common::lwjson
