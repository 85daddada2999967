#include "platform/tessapi/network/Command.h"

#include <array>
#include <charconv>

namespace tessapi {

namespace {

constexpr std::string_view LINE_END{"\r\n"};

/// The digits of a number, without memory of its own.
template <class Number>
class Digits {
public:
    explicit Digits(Number number) :
        size{static_cast<std::size_t>(std::to_chars(text.data(), text.data() + text.size(), number).ptr -
                                      text.data())} {}

    std::string_view view() const { return {text.data(), size}; }

private:
    std::array<char, 24> text{};
    std::size_t size;
};

} // namespace

Command& Command::add(std::string_view word) {
    arguments += '$';
    arguments += Digits{word.size()}.view();
    arguments += LINE_END;
    arguments += word;
    arguments += LINE_END;
    ++count;
    return *this;
}

Command& Command::add(std::uint64_t number) {
    return add(Digits{number}.view());
}

Command& Command::add(std::int64_t number) {
    return add(Digits{number}.view());
}

Command& Command::append(const Command& other) {
    arguments += other.arguments;
    count += other.count;
    return *this;
}

std::string Command::encoded() const {
    std::string text{"*"};
    text.reserve(arguments.size() + 24);
    text += Digits{count}.view();
    text += LINE_END;
    text += arguments;
    return text;
}

} // namespace tessapi
