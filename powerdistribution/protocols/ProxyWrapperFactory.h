#pragma once

#include "powerdistribution/protocols/IWrapperFactory.h"
#include "powerdistribution/protocols/RuleBasedWrapperBuilder.h"

#include <memory>
#include <string>

namespace velk::powerdistribution::protocols {

/// The factory that the whole data model talks to. Stands before the protocol's own and adds what no protocol
/// has to give: operating statuses, a communication state where there is none, and a name that can be
/// changed.
///
/// Threads: any. Wrappers that it made outlive it.
class VELK_EXPORT ProxyWrapperFactory : public IWrapperFactory {
public:
    /// Without a factory behind: serves only what needs no device.
    ProxyWrapperFactory();

    /// `behind` answers every path that the own tables do not; may be null.
    explicit ProxyWrapperFactory(std::shared_ptr<IWrapperFactory> behind);
    ~ProxyWrapperFactory() override;

    /// That of the factory behind; must not be called without one.
    const velk::common::Uuid& protocolUuid() const override;

    /// Asks in this order: the table before the factory, which a protocol cannot override; the factory; the
    /// table after it; and for `Attribute.FriendlyName` the factory's `Attribute.PhysicalName`, whose text
    /// becomes the first name of a wrapper that can be written. The tables are not walked for an empty path.
    ValueWrapperPtr buildWrapper(const EPath& path) const override;

    /// Who gives the wrapper of a path.
    struct Origin {
        bool byProtocol{false}; ///< the factory behind; otherwise this one, if anybody does
        std::string rule;       ///< empty when nobody tells, or nobody serves the path
    };

    /// In the order of `buildWrapper`. What the factory behind throws passes.
    Origin originOf(const EPath& path) const;

private:
    ValueWrapperPtr buildFriendlyName(const EPath& path) const;

    std::shared_ptr<IWrapperFactory> wrapperFactory;
    RuleBasedWrapperBuilder beforeBuilder;
    RuleBasedWrapperBuilder afterBuilder;
};

} // namespace velk::powerdistribution::protocols
