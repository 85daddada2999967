#pragma once

#include <stdexcept>
#include <string>

namespace tessapi {

/// The server has answered that it does not do what it was asked for. Nothing was done.
class ServerRefusal : public std::runtime_error {
public:
    /// `answer` is the server's error, for instance "OOM command not allowed".
    explicit ServerRefusal(const std::string& answer) : std::runtime_error{answer} {}

    /// Its first word: "OOM".
    std::string code() const {
        const std::string text{what()};
        return text.substr(0, text.find(' '));
    }

    /// Whether it may pass without anybody changing the store: the server has no room, cannot save, has no
    /// replica, or is busy.
    bool mayPass() const {
        const auto word = code();
        return word == "OOM" || word == "MISCONF" || word == "NOREPLICAS" || word == "BUSY" ||
               word == "TRYAGAIN";
    }

    /// Whether the server has not got the functions of the store.
    bool isWithoutFunctions() const {
        return std::string{what()}.find("Function not found") != std::string::npos;
    }
};

} // namespace tessapi
