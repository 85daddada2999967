#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace velk::cli {

/// What a program prints on its standard output until it ends; its errors go nowhere. Empty, with the reason
/// in `failure`, when it cannot be started or has not ended in time: then it is killed. No shell is involved.
std::string outputOf(const std::vector<std::string>& command, std::chrono::milliseconds longest,
                     std::string& failure);

} // namespace velk::cli
