#include "powerdistribution/protocols/LogReportWrapper.h"

#include <exception>
#include <utility>

namespace velk::powerdistribution::protocols {

namespace {

constexpr const char* FOREIGN = "an exception that is none of the standard library";

DeviceLogPiece pieceOf(const Value& sample) {
    if (!sample.hasValue()) {
        return {};
    }
    if (const auto* chunk = sample.getIf<InternalLogChunk>()) {
        return {*chunk, ""};
    }
    return {{}, "the device gave a " + typeName(sample) + " in place of a piece of its log"};
}

} // namespace

LogReportWrapper::LogReportWrapper(ValueWrapperPtr deviceWrapper, DeviceLogListener logListener,
                                   Count madeBefore) :
    wrapper{std::move(deviceWrapper)},
    listener{std::move(logListener)},
    made{std::move(madeBefore)},
    number{++*made} {
    report({}); // an empty log is not asked for, but it is one
}

LogReportWrapper::~LogReportWrapper() = default;

bool LogReportWrapper::isReadable() const {
    return wrapper->isReadable();
}

bool LogReportWrapper::isWritable() const {
    return wrapper->isWritable();
}

Value LogReportWrapper::read() const {
    try {
        Value sample = wrapper->read();
        report(pieceOf(sample));
        return sample;
    } catch (const std::exception& failure) {
        report({{}, failure.what()});
        throw;
    } catch (...) {
        report({{}, FOREIGN});
        throw;
    }
}

bool LogReportWrapper::write(const Value& value) {
    try {
        return wrapper->write(value);
    } catch (const std::exception& failure) {
        report({{}, failure.what()});
        throw;
    } catch (...) {
        report({{}, FOREIGN});
        throw;
    }
}

DataConfig LogReportWrapper::dataConfig() const {
    return wrapper->dataConfig();
}

void LogReportWrapper::report(const DeviceLogPiece& piece) const {
    if (*made != number) {
        return;
    }
    try {
        listener(piece);
    } catch (...) { // NOLINT(bugprone-empty-catch)
        // A listener that cannot keep its books must not cost the library the piece that came.
    }
}

} // namespace velk::powerdistribution::protocols
