#pragma once

#include "powerdistribution/protocols/IValueWrapper.h"
#include "testing/FakePoint.h"

#include <memory>
#include <utility>

namespace velk::testing {

/// A wrapper around a `FakePoint`, for what is given exclusive ownership of its wrapper:
///
///     auto point = std::make_shared<FakePoint>(Value{230.0f});
///     NegativeConverter converter{FakeWrapper::on(point)};
///     point->setValue({});
///
class FakeWrapper : public velk::powerdistribution::protocols::IValueWrapper {
public:
    using Value = velk::powerdistribution::Value;
    using DataConfig = velk::powerdistribution::protocols::DataConfig;

    /// `shared` is never null.
    explicit FakeWrapper(std::shared_ptr<FakePoint> shared) : point{std::move(shared)} {}

    static velk::powerdistribution::protocols::ValueWrapperPtr on(std::shared_ptr<FakePoint> point) {
        return std::make_unique<FakeWrapper>(std::move(point));
    }

    /// A wrapper that nobody else watches.
    static velk::powerdistribution::protocols::ValueWrapperPtr of(Value value) {
        return on(std::make_shared<FakePoint>(std::move(value)));
    }

    bool isReadable() const override { return point->isReadable(); }
    bool isWritable() const override { return point->isWritable(); }
    Value read() const override { return point->read(); }
    bool write(const Value& value) override { return point->write(value); }
    DataConfig dataConfig() const override { return point->dataConfig(); }

private:
    std::shared_ptr<FakePoint> point;
};

} // namespace velk::testing
