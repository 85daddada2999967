#include "daemon/StoreSettings.h"

#include "daemon/ConfigurationFile.h"

#include <cstdlib>
#include <string>

namespace velk::daemon {

namespace {

using velk::common::lwjson::Node;
using velk::common::lwjson::ValueType;

constexpr const char* WHEN_CORRUPT = "whenCorrupt";
constexpr const char* SET_ASIDE_WORD = "set-aside";
constexpr const char* REFUSE_WORD = "refuse";

bool isWord(const Node& node, const char* word) {
    return node.getValueType() == ValueType::String && node.text() == word;
}

} // namespace

StoreSettings StoreSettings::of(const ConfigurationFile& file) {
    const Node* store = file.root().findMember(MEMBER);
    if (store == nullptr || store->getValueType() != ValueType::Object) {
        return {};
    }
    const Node* chosen = store->findMember(WHEN_CORRUPT);
    return {chosen != nullptr && isWord(*chosen, SET_ASIDE_WORD)};
}

Findings StoreSettings::check(const ConfigurationFile& file) {
    const Node* store = file.root().findMember(MEMBER);
    if (store == nullptr) {
        return {};
    }
    if (store->getValueType() != ValueType::Object) {
        return {file.at(*store, Finding::Severity::Error, "\"store\": expected an object with whenCorrupt")};
    }
    Findings findings;
    bool seen = false;
    for (const Node& member : store->members()) {
        const std::string name = "\"" + member.name() + "\"";
        if (member.name() != WHEN_CORRUPT) {
            findings.push_back(
                file.at(member, Finding::Severity::Warning, name + " is ignored; expected whenCorrupt"));
        } else if (seen) {
            findings.push_back(
                file.at(member, Finding::Severity::Warning, name + " is ignored: the first one counts"));
        } else if (!isWord(member, SET_ASIDE_WORD) && !isWord(member, REFUSE_WORD)) {
            findings.push_back(file.at(member, Finding::Severity::Error,
                                       name + R"(: expected "refuse" or "set-aside", not )" + member.text()));
        }
        seen = seen || member.name() == WHEN_CORRUPT;
    }
    return findings;
}

void StoreSettings::apply() const {
    if (corruptAside) {
        setenv("TESS_WHEN_CORRUPT", SET_ASIDE_WORD, 0); // NOLINT(concurrency-mt-unsafe): no other thread yet
    }
}

} // namespace velk::daemon
