#pragma once

#include "platform/tessapi/RootDevice.h"
#include "platform/tessapi/StoreImage.h"

#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <string>

namespace velk::cli::test {

/// Images that a store could have, with the oddest values that it could hold in them; the same for the same
/// seed.
class RandomImage {
public:
    explicit RandomImage(unsigned int seed) : random{seed} {}

    tessapi::StoreImage make() {
        tessapi::StoreImage image;
        addDevices(image);
        addChannels(image);
        for (std::int64_t number = 1 + upTo(3); upTo(3) != 0; number += 1 + upTo(2)) {
            image.alarmEvents.push_back(event(number));
        }
        for (std::int64_t number = 1 + upTo(3); upTo(3) != 0; number += 1 + upTo(2)) {
            image.writeRecords.push_back({number, time(), text(), text(), text(), text(), text()});
        }
        return image;
    }

    qz::CValue value(qz::datatype type) {
        switch (type) {
        case qz::datatype::boolean:
            return qz::CValue{upTo(1) == 1};
        case qz::datatype::int32:
            return qz::CValue{static_cast<std::int32_t>(random())};
        case qz::datatype::int64:
            return qz::CValue{static_cast<std::int64_t>(wide())};
        case qz::datatype::uint32:
            return qz::CValue{static_cast<std::uint32_t>(random())};
        case qz::datatype::uint64:
            return qz::CValue{wide()};
        case qz::datatype::float32:
            return qz::CValue{fraction<float>()};
        case qz::datatype::float64:
            return qz::CValue{fraction<double>()};
        case qz::datatype::timestamp:
            return qz::CValue{qz::CTimestamp{time(), upTo(1) == 1 ? "%F %T" : text()}};
        case qz::datatype::string:
            return qz::CValue{text()};
        default:
            break;
        }
        const std::string bytes = text();
        return qz::CValue{qz::CValue::Bytes(bytes.begin(), bytes.end())};
    }

private:
    tessapi::LevelAlarm level() {
        const std::uint64_t drawn = upTo(4);
        return static_cast<tessapi::LevelAlarm>(drawn == 0 ? 0 : 3 + drawn);
    }

    std::uint64_t upTo(std::uint64_t greatest) { return random() % (greatest + 1); }
    std::uint64_t wide() { return std::uint64_t{random()} << 32U | random(); }
    std::int64_t time() { return static_cast<std::int64_t>(wide() >> 20U); }
    qz::datatype type() { return static_cast<qz::datatype>(upTo(9)); }

    template <typename Float>
    Float fraction() {
        using Limits = std::numeric_limits<Float>;
        switch (upTo(9)) {
        case 0:
            return Limits::infinity();
        case 1:
            return -Limits::infinity();
        case 2:
            return Limits::quiet_NaN();
        case 3:
            return Limits::denorm_min();
        case 4:
            return Limits::max();
        case 5:
            return -Float{0};
        default:
            return std::ldexp(static_cast<Float>(static_cast<std::int32_t>(random())),
                              static_cast<int>(upTo(60)) - 40);
        }
    }

    std::string text() {
        static const std::string letters[] = {
            "a",    "\"",   "\\", "\n", std::string(1, '\0'), "\x1b", "\xc3\xa4", "\xf0\x9f\x94\x8b",
            "\xff", "\xc3", ".",  " "};
        std::string made;
        for (std::uint64_t left = upTo(6); left > 0; --left) {
            made += letters[upTo(std::size(letters) - 1)];
        }
        return made;
    }

    qz::CValue anyValue() { return upTo(4) == 0 ? qz::CValue{} : value(type()); }

    velk::common::Uuid uuid() {
        return velk::common::Uuid{velk::common::Uuid::VELK_NAMESPACE, std::to_string(wide())};
    }

    void addDevices(tessapi::StoreImage& image) {
        image.content.devices.push_back({1, tessapi::ROOT_UUID, 0, {}});
        std::uint64_t id = 1;
        for (std::uint64_t left = upTo(5); left > 0; --left) {
            id = id < 1000 && upTo(1) == 0 ? 1000 : id + 1 + upTo(9);
            const std::uint64_t parent = image.content.devices[upTo(image.content.devices.size() - 1)].id;
            image.content.devices.push_back({id, uuid(), parent, {}});
        }
        for (auto& device : image.content.devices) {
            device.attributes[upTo(15)] = text();
        }
        image.lastDevice = std::max<std::uint64_t>(999, id) + upTo(3);
    }

    void addChannels(tessapi::StoreImage& image) {
        std::uint64_t id = 999;
        for (const auto& device : image.content.devices) {
            for (std::uint64_t left = upTo(4); left > 0; --left) {
                id += 1 + upTo(3);
                image.content.channels.push_back(channel(id, device.id));
            }
        }
        image.lastChannel = id + upTo(3);
    }

    tessapi::ChannelRecord channel(std::uint64_t id, std::uint64_t device) {
        tessapi::ChannelRecord made;
        made.id = id;
        made.deviceId = device;
        made.name = text() + std::to_string(id);
        made.type = type();
        made.value = upTo(3) == 0 ? qz::CValue{} : value(made.type);
        made.initialized = made.value.isValid();
        made.writtenMs = time();
        made.changedMs = time();
        for (std::uint64_t left = upTo(3); left > 0; --left) {
            made.states.add(anyValue(), text());
        }
        for (std::uint64_t left = upTo(2); left > 0; --left) {
            made.alarmConfig.triggers.push_back({level(), static_cast<std::int8_t>(upTo(5)), anyValue(),
                                                 anyValue(), static_cast<std::int32_t>(random()), text(),
                                                 anyValue(), static_cast<std::uint32_t>(random())});
        }
        return made;
    }

    tessapi::AlarmEvent event(std::int64_t number) {
        return {number,
                time(),
                upTo(1) == 1,
                upTo(1) == 1 ? 1000 + upTo(9) : ~std::uint64_t{0},
                upTo(1) == 1 ? 1000 + upTo(9) : ~std::uint64_t{0},
                text(),
                text(),
                text(),
                text(),
                static_cast<tessapi::LevelAlarm>(4 + upTo(3)),
                static_cast<std::int32_t>(random()),
                static_cast<std::int8_t>(upTo(4)),
                anyValue(),
                anyValue(),
                anyValue()};
    }

    std::mt19937 random;
};

} // namespace velk::cli::test
