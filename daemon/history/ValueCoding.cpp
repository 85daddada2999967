#include "daemon/history/ValueCoding.h"

#include <sstream>

namespace velk::daemon {

namespace {

std::string cut(std::string text) {
    if (text.size() <= LONGEST_HISTORY_TEXT) {
        return text;
    }
    std::size_t end = LONGEST_HISTORY_TEXT;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U) {
        --end; // within a letter of UTF-8
    }
    text.resize(end);
    return text;
}

} // namespace

qz::CValue kept(qz::datatype type, const qz::CValue& value) {
    if (value.type() != type) {
        return {};
    }
    if (type == qz::datatype::string) {
        return qz::CValue{cut(value.as_string())};
    }
    if (type == qz::datatype::binary) {
        std::ostringstream text;
        text << value;
        return qz::CValue{cut(text.str())};
    }
    return value;
}

void putValue(ByteVector& bytes, qz::datatype type, const qz::CValue& value) {
    switch (type) {
    case qz::datatype::boolean:
        bytes.push_back(value.as_bool() ? 1 : 0);
        break;
    case qz::datatype::int32:
        putVarint(bytes, zigzag(value.as_int32()));
        break;
    case qz::datatype::int64:
        putVarint(bytes, zigzag(value.as_int64()));
        break;
    case qz::datatype::uint32:
        putVarint(bytes, value.as_uint32());
        break;
    case qz::datatype::uint64:
        putVarint(bytes, value.as_uint64());
        break;
    case qz::datatype::float32:
        putRaw(bytes, value.as_float());
        break;
    case qz::datatype::float64:
        putRaw(bytes, value.as_double());
        break;
    case qz::datatype::timestamp:
        putVarint(bytes, zigzag(value.as_timestamp().seconds));
        break;
    default:
        putText(bytes, value.as_string());
        break;
    }
}

qz::CValue takeValue(ByteReader& reader, qz::datatype type) {
    switch (type) {
    case qz::datatype::boolean:
        return qz::CValue{reader.take(1).front() != 0};
    case qz::datatype::int32:
        return qz::CValue{static_cast<std::int32_t>(unzigzag(reader.varint()))};
    case qz::datatype::int64:
        return qz::CValue{unzigzag(reader.varint())};
    case qz::datatype::uint32:
        return qz::CValue{static_cast<std::uint32_t>(reader.varint())};
    case qz::datatype::uint64:
        return qz::CValue{reader.varint()};
    case qz::datatype::float32:
        return qz::CValue{reader.raw<float>()};
    case qz::datatype::float64:
        return qz::CValue{reader.raw<double>()};
    case qz::datatype::timestamp: {
        qz::CTimestamp time;
        time.seconds = unzigzag(reader.varint());
        return qz::CValue{time};
    }
    default:
        return qz::CValue{std::string{reader.text()}};
    }
}

} // namespace velk::daemon
