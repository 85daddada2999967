#pragma once

#include "plugins/nut/Variables.h"
#include "powerdistribution/core/Value.h"

#include <functional>
#include <set>
#include <string>
#include <string_view>

namespace velk::nut {

/// The words of "ups.status", such as OL (on line), OB (on battery) or LB (low battery). A plain value.
class StatusWords {
public:
    explicit StatusWords(const Variables& variables);

    /// False for a device that gives none, as is usual for a distribution unit: then nothing follows from a
    /// word that is not there.
    bool isKnown() const { return !words.empty(); }
    bool has(std::string_view word) const { return words.find(word) != words.end(); }

    /// Whether the word is there; empty when no words are known.
    powerdistribution::Value valueOf(std::string_view word) const;

private:
    std::set<std::string, std::less<>> words;
};

} // namespace velk::nut
