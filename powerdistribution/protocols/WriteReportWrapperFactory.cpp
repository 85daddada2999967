#include "powerdistribution/protocols/WriteReportWrapperFactory.h"

#include "powerdistribution/protocols/WriteReportWrapper.h"

#include <utility>

namespace velk::powerdistribution::protocols {

namespace {

bool isWrittenFromTheStore(const EPath& path) {
    if (path.empty()) {
        return false;
    }
    const EPath::Node& last = path.lastNode();
    return last.holds<ESetting>() || last.holds<EAction>() || last.holds<EPrivateAction>();
}

} // namespace

WriteReportWrapperFactory::WriteReportWrapperFactory(std::shared_ptr<IWrapperFactory> deviceFactory,
                                                     DeviceWriteListener writeListener) :
    factory{std::move(deviceFactory)}, listener{std::move(writeListener)} {}

WriteReportWrapperFactory::~WriteReportWrapperFactory() = default;

const velk::common::Uuid& WriteReportWrapperFactory::protocolUuid() const {
    return factory->protocolUuid();
}

std::string WriteReportWrapperFactory::ruleOf(const EPath& path) const {
    return protocols::ruleOf(*factory, path);
}

ValueWrapperPtr WriteReportWrapperFactory::buildWrapper(const EPath& path) const {
    ValueWrapperPtr wrapper = factory->buildWrapper(path);
    if (!wrapper || !isWrittenFromTheStore(path)) {
        return wrapper;
    }
    return std::make_unique<WriteReportWrapper>(path, std::move(wrapper), listener);
}

} // namespace velk::powerdistribution::protocols
