#include "platform/tessapi/engine/Statement.h"

#include "platform/tessapi/engine/StoreError.h"
#include "platform/tessapi/engine/ValueCodec.h"

#include <sqlite3.h>

namespace tessapi {

void Statement::Finalizer::operator()(sqlite3_stmt* statement) const {
    sqlite3_finalize(statement);
}

Statement::Run::~Run() {
    sqlite3_reset(statement.compiled.get());
}

bool Statement::Run::next() {
    const int result = sqlite3_step(statement.compiled.get());
    if (result != SQLITE_ROW && result != SQLITE_DONE) {
        statement.database.fail(result);
    }
    return result == SQLITE_ROW;
}

bool Statement::Run::isNull(int column) const {
    return sqlite3_column_type(statement.compiled.get(), column) == SQLITE_NULL;
}

std::int64_t Statement::Run::integer(int column) const {
    return sqlite3_column_int64(statement.compiled.get(), column);
}

std::string_view Statement::Run::view(int column) const {
    const auto* begin = reinterpret_cast<const char*>(sqlite3_column_text(statement.compiled.get(), column));
    const auto size = sqlite3_column_bytes(statement.compiled.get(), column);
    return begin == nullptr ? std::string_view{} : std::string_view(begin, static_cast<std::size_t>(size));
}

qz::CValue::Bytes Statement::Run::bytes(int column) const {
    const auto* begin =
        static_cast<const std::uint8_t*>(sqlite3_column_blob(statement.compiled.get(), column));
    const auto size = sqlite3_column_bytes(statement.compiled.get(), column);
    return begin == nullptr ? qz::CValue::Bytes{} : qz::CValue::Bytes(begin, begin + size);
}

qz::CValue Statement::Run::value(int column) const {
    if (isNull(column)) {
        return {};
    }
    auto decoded = ValueCodec::decode(bytes(column));
    if (!decoded) {
        throwStoreFault(statement.database.storeName(), StoreFault::corrupt, "a value cannot be read");
    }
    return std::move(*decoded);
}

void Statement::prepare() {
    if (compiled) {
        return;
    }
    sqlite3_stmt* prepared = nullptr;
    const int result =
        sqlite3_prepare_v3(database.handle(), sql, -1, SQLITE_PREPARE_PERSISTENT, &prepared, nullptr);
    if (result != SQLITE_OK) {
        database.fail(result);
    }
    compiled.reset(prepared);
}

void Statement::check(int result) const {
    if (result != SQLITE_OK) {
        database.fail(result); // too long, or no memory for it
    }
}

void Statement::bind(int index, std::int64_t number) {
    check(sqlite3_bind_int64(compiled.get(), index, number));
}

void Statement::bind(int index, const std::string& text) {
    check(
        sqlite3_bind_text64(compiled.get(), index, text.data(), text.size(), SQLITE_TRANSIENT, SQLITE_UTF8));
}

void Statement::bind(int index, const qz::CValue::Bytes& bytes) {
    // An empty vector has no address; without one the database would take it for null.
    const void* begin = bytes.empty() ? static_cast<const void*>("") : bytes.data();
    check(sqlite3_bind_blob64(compiled.get(), index, begin, bytes.size(), SQLITE_TRANSIENT));
}

void Statement::bind(int index, const qz::CValue& value) {
    if (value.isValid()) {
        bind(index, ValueCodec::encode(value));
    } else {
        check(sqlite3_bind_null(compiled.get(), index));
    }
}

} // namespace tessapi
