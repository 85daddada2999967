#pragma once

// What all fuzzers share. A fuzzer is one file that says what is done with one input:
//
//     VELK_FUZZER(json) {
//         demand(..., "...");
//     }
//
// With VELK_FUZZ_ENGINE it is a program of libFuzzer; without, it joins the list of `fuzzers()`, so that a
// test can run it on the inputs that are kept.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <map>
#include <string>
#include <string_view>

namespace velk::fuzz {

/// A property that did not hold. No standard exception, so that no handler under test takes it.
struct Broken {
    std::string what;
};

inline void demand(bool holds, const std::string& what) {
    if (!holds) {
        throw Broken{what};
    }
}

using Function = void (*)(std::string_view input);

/// By name.
inline std::map<std::string, Function>& fuzzers() {
    static std::map<std::string, Function> all;
    return all;
}

/// The part of `input` in front of the next line feed, which is taken off it.
inline std::string_view takeLine(std::string_view& input) {
    const std::size_t end = input.find('\n');
    const std::string_view line = input.substr(0, end);
    input = end == std::string_view::npos ? std::string_view{} : input.substr(end + 1);
    return line;
}

} // namespace velk::fuzz

#ifdef VELK_FUZZ_ENGINE
#define VELK_FUZZER(name)                                                                                    \
    static void fuzz_##name(std::string_view input);                                                         \
    extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {                      \
        try {                                                                                                \
            fuzz_##name({reinterpret_cast<const char*>(data), size});                                        \
        } catch (const velk::fuzz::Broken& broken) {                                                         \
            std::cerr << "property broken: " << broken.what << std::endl;                                    \
            std::abort();                                                                                    \
        }                                                                                                    \
        return 0;                                                                                            \
    }                                                                                                        \
    static void fuzz_##name([[maybe_unused]] std::string_view input)
#else
#define VELK_FUZZER(name)                                                                                    \
    static void fuzz_##name(std::string_view input);                                                         \
    [[maybe_unused]] static const bool isListed_##name =                                                     \
        velk::fuzz::fuzzers().emplace(#name, fuzz_##name).second;                                            \
    static void fuzz_##name([[maybe_unused]] std::string_view input)
#endif
