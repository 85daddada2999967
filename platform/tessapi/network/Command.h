#pragma once

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tessapi {

/// A command for a server with its arguments, which may hold any bytes. A plain value.
class Command {
public:
    Command() = default;
    Command(std::initializer_list<std::string_view> first) : words{first.begin(), first.end()} {}

    Command& add(std::string word) {
        words.push_back(std::move(word));
        return *this;
    }
    Command& add(std::string_view word) { return add(std::string{word}); }
    Command& add(const char* word) { return add(std::string{word}); }
    Command& add(std::uint64_t number) { return add(std::to_string(number)); }
    Command& add(std::int64_t number) { return add(std::to_string(number)); }
    Command& add(std::uint32_t number) { return add(std::to_string(number)); }

    /// Adds the arguments of another one.
    Command& append(const Command& other) {
        words.insert(words.end(), other.words.begin(), other.words.end());
        return *this;
    }

    /// Gives room for so many more arguments.
    void reserve(std::size_t more) { words.reserve(words.size() + more); }

    /// As it goes over the wire.
    std::string encoded() const;

private:
    std::vector<std::string> words;
};

} // namespace tessapi
