#include "plugins/simulator/faulty/FaultyWrapper.h"

#include <cstdint>
#include <utility>

namespace velk::simulator {

using powerdistribution::Value;
using powerdistribution::protocols::DataConfig;

namespace {

/// Control characters, a byte order mark and bytes that are no UTF-8.
constexpr const char* GARBAGE = "\x01\x1b[31m\xef\xbb\xbf\xff\xc3(\x7f";

Value ofAnotherAlternative(const Value& value) {
    if (value.holds<std::string>()) {
        return std::uint32_t{7};
    }
    return std::string{"wrong"};
}

} // namespace

FaultyWrapper::FaultyWrapper(powerdistribution::protocols::ValueWrapperPtr inner, std::string text,
                             std::shared_ptr<FaultTable> present) :
    wrapper{std::move(inner)}, path{std::move(text)}, faults{std::move(present)} {}

FaultyWrapper::~FaultyWrapper() = default;

bool FaultyWrapper::isReadable() const {
    faults->throwIf(Operation::IsReadable, path);
    return wrapper->isReadable();
}

bool FaultyWrapper::isWritable() const {
    faults->throwIf(Operation::IsWritable, path);
    return wrapper->isWritable();
}

Value FaultyWrapper::read() const {
    faults->throwIf(Operation::Read, path);
    Value value = wrapper->read();
    if (!value.hasValue()) {
        return value;
    }
    if (faults->concerns(FaultKind::Garbage, path)) {
        return value.holds<std::string>() ? Value{std::string{GARBAGE}} : Value{};
    }
    return faults->concerns(FaultKind::WrongAlternative, path) ? ofAnotherAlternative(value) : value;
}

bool FaultyWrapper::write(const Value& value) {
    faults->throwIf(Operation::Write, path);
    return wrapper->write(value);
}

DataConfig FaultyWrapper::dataConfig() const {
    faults->throwIf(Operation::DataConfig, path);
    return wrapper->dataConfig();
}

} // namespace velk::simulator
