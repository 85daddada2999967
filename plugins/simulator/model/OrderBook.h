#pragma once

#include "plugins/simulator/model/Orders.h"
#include "plugins/simulator/model/Plant.h"

namespace velk::simulator {

// What an order does to the parts. All throw std::invalid_argument, with what was wrong, where and what was
// expected, before they change anything.

void apply(const MainsOrder& order, Plant& plant);
void apply(const LoadOrder& order, Plant& plant);
void apply(const BatteryOrder& order, Plant& plant);

} // namespace velk::simulator
