#include "powerdistribution/protocols/WriteReportWrapper.h"

#include <exception>
#include <utility>

namespace velk::powerdistribution::protocols {

namespace {

std::string nodeText(const EPath& path) {
    const EPath node = path.parent();
    return node.empty() ? std::string{} : node.nodesToString();
}

} // namespace

WriteReportWrapper::WriteReportWrapper(const EPath& path, ValueWrapperPtr deviceWrapper,
                                       DeviceWriteListener writeListener) :
    device{nodeText(path)},
    channel{path.lastNode().tostring()},
    wrapper{std::move(deviceWrapper)},
    listener{std::move(writeListener)} {}

WriteReportWrapper::~WriteReportWrapper() = default;

bool WriteReportWrapper::isReadable() const {
    return wrapper->isReadable();
}

bool WriteReportWrapper::isWritable() const {
    return wrapper->isWritable();
}

Value WriteReportWrapper::read() const {
    return wrapper->read();
}

bool WriteReportWrapper::write(const Value& value) {
    try {
        const bool accepted = wrapper->write(value);
        report(value, accepted, "");
        return accepted;
    } catch (const std::exception& failure) {
        report(value, false, failure.what());
        throw;
    }
}

DataConfig WriteReportWrapper::dataConfig() const {
    return wrapper->dataConfig();
}

void WriteReportWrapper::report(const Value& asked, bool accepted, const std::string& error) const {
    try {
        listener(DeviceWrite{device, channel, asked, accepted, error, conv::UnixTime::now()});
    } catch (...) { // NOLINT(bugprone-empty-catch)
        // A listener that cannot keep its books must not turn a write that the device took into a failure.
    }
}

} // namespace velk::powerdistribution::protocols
