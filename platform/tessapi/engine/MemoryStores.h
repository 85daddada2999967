#pragma once

#include <functional>
#include <memory>
#include <string>

namespace tessapi {

class Engine;

/// The stores in memory of this process, by name: each lives as long as somebody has it open.
/// Threads: any.
namespace MemoryStores {

/// The store called `name`, made by `make` when there is none.
std::shared_ptr<Engine> find(const std::string& name, const std::function<std::shared_ptr<Engine>()>& make);

} // namespace MemoryStores

} // namespace tessapi
