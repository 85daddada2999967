#pragma once

#include "powerdistribution/core/EPath.h"
#include "powerdistribution/core/Vocabulary.h"

#include <algorithm>
#include <cctype>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace velk::testing {

/// The members of one family of the vocabulary.
template <typename E>
std::vector<E> membersOf() {
    std::vector<E> members;
    for (std::uint32_t number = 1; number < 200; ++number) {
        const auto member = static_cast<E>(number);
        if (to_string(member) != "UNKNOWN") {
            members.push_back(member);
        }
    }
    return members;
}

/// Every member of the vocabulary by its text.
inline const std::map<std::string, powerdistribution::EPath::Node, std::less<>>& nodesByText() {
    static const auto nodes = [] {
        std::map<std::string, powerdistribution::EPath::Node, std::less<>> all;
        const auto add = [&](const auto& members) {
            for (const auto member : members) {
                all.emplace(to_string(member), member);
            }
        };
        add(membersOf<powerdistribution::EProperty>());
        add(membersOf<powerdistribution::ECommunicationStatus>());
        add(membersOf<powerdistribution::ECircuit>());
        add(membersOf<powerdistribution::EPowerConverter>());
        add(membersOf<powerdistribution::EMeasurement>());
        add(membersOf<powerdistribution::ESpecification>());
        add(membersOf<powerdistribution::ESetting>());
        add(membersOf<powerdistribution::EStatus>());
        add(membersOf<powerdistribution::EAttribute>());
        add(membersOf<powerdistribution::EAction>());
        add(membersOf<powerdistribution::EPrivate>());
        add(membersOf<powerdistribution::EPrivateAction>());
        return all;
    }();
    return nodes;
}

/// The path whose text this is; throws std::invalid_argument for a text that is none.
inline powerdistribution::EPath pathOfText(std::string_view text) {
    std::vector<powerdistribution::EPath::Node> path;
    while (!text.empty()) {
        std::size_t length = text.find('.');
        length = length == std::string_view::npos ? text.size() : length;
        if (std::isdigit(static_cast<unsigned char>(text.front())) != 0) {
            path.emplace_back(static_cast<std::uint32_t>(std::stoul(std::string{text.substr(0, length)})));
        } else {
            // Texts of members have dots too; the longest that fits is meant.
            std::size_t best = 0;
            for (std::size_t end = length;; end = std::min(text.find('.', end + 1), text.size())) {
                best = nodesByText().count(text.substr(0, end)) != 0 ? end : best;
                if (end == text.size()) {
                    break;
                }
            }
            if (best == 0) {
                throw std::invalid_argument{"no path: " + std::string{text}};
            }
            path.push_back(nodesByText().find(text.substr(0, best))->second);
            length = best;
        }
        text.remove_prefix(std::min(length + 1, text.size()));
    }
    return powerdistribution::EPath{std::move(path)};
}

} // namespace velk::testing
