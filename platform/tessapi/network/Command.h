#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

namespace tessapi {

/// A command for a server with its arguments, which may hold any bytes, in the form in which it is sent. A
/// plain value.
class Command {
public:
    Command() = default;
    Command(std::initializer_list<std::string_view> words) {
        for (const auto word : words) {
            add(word);
        }
    }

    Command& add(std::string_view word);
    Command& add(const std::string& word) { return add(std::string_view{word}); }
    Command& add(const char* word) { return add(std::string_view{word}); }
    Command& add(std::uint64_t number);
    Command& add(std::int64_t number);
    Command& add(std::uint32_t number) { return add(std::uint64_t{number}); }

    /// Adds the arguments of another one.
    Command& append(const Command& other);

    /// Gives room for so many more bytes.
    void reserve(std::size_t more) { arguments.reserve(arguments.size() + more); }

    /// As it goes over the wire.
    std::string encoded() const;

private:
    std::size_t count{0};
    std::string arguments;
};

} // namespace tessapi
