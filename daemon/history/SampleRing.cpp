#include "daemon/history/SampleRing.h"

#include "daemon/history/ValueCoding.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace velk::daemon {

namespace {

/// No sample takes more: the time, the length of a text and the text.
constexpr std::size_t LARGEST_SAMPLE = 24 + LONGEST_HISTORY_TEXT;

} // namespace

std::string_view viewOf(const ByteVector& bytes, std::size_t from) {
    return {reinterpret_cast<const char*>(bytes.data()) + from, bytes.size() - from};
}

void fitCapacity(ByteVector& bytes, std::size_t wanted) {
    const std::size_t room = wanted + wanted / 8 + 8;
    if (bytes.capacity() < wanted || bytes.capacity() > wanted + wanted / 2 + 64) {
        ByteVector fitting;
        fitting.reserve(room);
        fitting.insert(fitting.end(), bytes.begin(), bytes.end());
        bytes.swap(fitting);
    }
}

void dropHead(ByteVector& bytes, std::size_t& head) {
    if (head > bytes.size() / 8 + 64) {
        bytes.erase(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(head));
        head = 0;
        fitCapacity(bytes, bytes.size());
    }
}

void SampleRing::add(std::int64_t stampMs, const qz::CValue& value) {
    const std::int64_t timeMs = std::clamp(stampMs, -FURTHEST_MS, FURTHEST_MS);
    if (count == 0) {
        bytes.clear();
        head = 0;
        frontMs = timeMs;
        backMs = timeMs;
    }
    static thread_local ByteVector sample;
    sample.clear();
    sample.reserve(LARGEST_SAMPLE);
    putVarint(sample, (zigzag(timeMs - backMs) << 1U) | (value.isValid() ? 0U : 1U));
    if (value.isValid()) {
        putValue(sample, type, value);
    }
    fitCapacity(bytes, bytes.size() + sample.size());
    bytes.insert(bytes.end(), sample.begin(), sample.end());
    backMs = timeMs;
    ++count;
}

Sample SampleRing::next(ByteReader& reader, std::int64_t beforeMs) const {
    const std::uint64_t first = reader.varint();
    Sample sample;
    sample.timeMs = beforeMs + unzigzag(first >> 1U);
    if ((first & 1U) == 0) {
        sample.value = takeValue(reader, type);
    }
    return sample;
}

void SampleRing::dropBefore(std::int64_t timeMs) {
    ByteReader reader{viewOf(bytes, head)};
    // The first one's step leads nowhere: its time is known.
    std::string_view rest = reader.left();
    if (count > 1) {
        next(reader, 0);
    }
    while (count > 1) {
        rest = reader.left();
        const Sample second = next(reader, frontMs);
        if (second.timeMs > timeMs) {
            break;
        }
        frontMs = second.timeMs;
        head = bytes.size() - rest.size();
        --count;
    }
    dropHead(bytes, head);
}

std::vector<Sample> SampleRing::samples() const {
    std::vector<Sample> all;
    all.reserve(count);
    ByteReader reader{viewOf(bytes, head)};
    for (std::uint32_t i = 0; i < count; ++i) {
        all.push_back(next(reader, i == 0 ? 0 : all.back().timeMs));
        if (i == 0) {
            all.front().timeMs = frontMs;
        }
    }
    return all;
}

void SampleRing::save(ByteVector& file) const {
    putVarint(file, count);
    putVarint(file, zigzag(frontMs));
    putText(file, viewOf(bytes, head));
}

void SampleRing::load(ByteReader& file) {
    SampleRing loaded{type};
    const std::uint64_t samples = file.varint();
    loaded.frontMs = unzigzag(file.varint());
    ByteReader content{file.text()};
    if (samples > content.left().size() || !isWithin(loaded.frontMs)) {
        throw std::runtime_error{"has samples that make no sense"};
    }
    std::int64_t timeMs = loaded.frontMs;
    for (std::uint64_t i = 0; i < samples; ++i) {
        const Sample sample = next(content, i == 0 ? 0 : timeMs);
        timeMs = i == 0 ? loaded.frontMs : sample.timeMs;
        if (!isWithin(timeMs)) {
            throw std::runtime_error{"has samples that make no sense"};
        }
        loaded.add(timeMs, kept(type, sample.value));
    }
    *this = std::move(loaded);
}

} // namespace velk::daemon
