// A value as it stands in the database, and as text.

#include "fuzz/Fuzz.h"
#include "platform/tessapi/engine/ValueCodec.h"

#include <sstream>

using velk::fuzz::demand;

VELK_FUZZER(stored_value) {
    const qz::CValue::Bytes bytes(input.begin(), input.end());
    const auto value = tessapi::ValueCodec::decode(bytes);
    if (!value) {
        return;
    }
    demand(tessapi::ValueCodec::encode(*value) == bytes, "bytes that are read are written otherwise");
    demand(tessapi::ValueCodec::same(*value, *value), "a value is not the same as itself");
    std::ostringstream text;
    text << *value;
    demand(value->isValid() == !bytes.empty(), "no bytes are the invalid value and nothing else");
}
