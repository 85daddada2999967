#include "powerdistribution/protocols/LogReportWrapperFactory.h"

#include <utility>

namespace velk::powerdistribution::protocols {

LogReportWrapperFactory::LogReportWrapperFactory(std::shared_ptr<IWrapperFactory> deviceFactory,
                                                 DeviceLogListener logListener,
                                                 LogReportWrapper::Count madeBefore) :
    factory{std::move(deviceFactory)}, listener{std::move(logListener)}, made{std::move(madeBefore)} {}

LogReportWrapperFactory::~LogReportWrapperFactory() = default;

const velk::common::Uuid& LogReportWrapperFactory::protocolUuid() const {
    return factory->protocolUuid();
}

std::string LogReportWrapperFactory::ruleOf(const EPath& path) const {
    return protocols::ruleOf(*factory, path);
}

ValueWrapperPtr LogReportWrapperFactory::buildWrapper(const EPath& path) const {
    ValueWrapperPtr wrapper = factory->buildWrapper(path);
    const bool givesLog = !path.empty() && path.lastNode() == EPath::Node{EPrivate::LogChunk};
    if (!wrapper || !givesLog) {
        return wrapper;
    }
    return std::make_unique<LogReportWrapper>(std::move(wrapper), listener, made);
}

} // namespace velk::powerdistribution::protocols
