#include "powerdistribution/core/Value.h"

#include <array>
#include <string_view>

namespace velk::powerdistribution {

namespace {

constexpr std::array<std::string_view, 10> typeNames{"bool",        "int32_t",         "uint32_t", "float",
                                                     "UnixTime",    "std::string",     "EPath",    "Uuid",
                                                     "BinaryBlock", "InternalLogChunk"};

static_assert(typeNames.size() == std::variant_size_v<Value::Variant>);

class Printer {
public:
    explicit Printer(std::ostream& target) : stream{target} {}

    // Required: a block prints through a Uuid, whatever its length.
    void operator()(const BinaryBlock& block) const { stream << velk::common::Uuid{block}; }
    void operator()(const InternalLogChunk& chunk) const {
        stream << "internal log chunk=" << chunk.toString();
    }
    template <typename T>
    void operator()(const T& content) const {
        stream << content;
    }

private:
    std::ostream& stream;
};

} // namespace

std::string typeName(std::size_t alternative) {
    return alternative < typeNames.size() ? std::string{typeNames[alternative]} : std::string{"unknown"};
}

std::string typeName(const Value& value) {
    return value.hasValue() ? typeName(value.variant()->index()) : std::string{"empty"};
}

} // namespace velk::powerdistribution

namespace velk::common {

std::ostream& operator<<(std::ostream& stream, const velk::powerdistribution::Value& value) {
    if (!value.hasValue()) {
        return stream << "empty";
    }
    std::visit(velk::powerdistribution::Printer{stream}, *value.variant());
    return stream;
}

} // namespace velk::common
