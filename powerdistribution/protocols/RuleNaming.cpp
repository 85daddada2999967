#include "powerdistribution/protocols/IRuleNaming.h"

namespace velk::powerdistribution::protocols {

IRuleNaming::~IRuleNaming() = default;

ISourceNaming::~ISourceNaming() = default;

std::string ruleOf(const IWrapperFactory& factory, const EPath& path) {
    const auto* naming = dynamic_cast<const IRuleNaming*>(&factory);
    if (naming == nullptr) {
        return "";
    }
    try {
        return naming->ruleOf(path);
    } catch (...) { // NOLINT(bugprone-empty-catch)
        // Asked for out of curiosity: a plug-in that cannot tell harms nothing.
        return "";
    }
}

} // namespace velk::powerdistribution::protocols
