#pragma once

#include "platform/qz/CValue.h"
#include "platform/tessapi/engine/Database.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <string_view>

struct sqlite3_stmt;

namespace tessapi {

/// A statement that is compiled at its first use and kept. `with` binds the arguments in order and gives a
/// `Run`, which takes the statement's rows and resets it when it goes: a statement that is left open would
/// keep the log from being started anew.
/// Threads: those of its database.
class Statement {
public:
    class Run {
    public:
        explicit Run(Statement& owner) : statement{owner} {}
        ~Run();
        Run(const Run&) = delete;
        Run& operator=(const Run&) = delete;

        /// Goes to the next row; false after the last one.
        bool next();

        bool isNull(int column) const;
        std::int64_t integer(int column) const;
        std::uint64_t id(int column) const { return static_cast<std::uint64_t>(integer(column)); }
        std::string text(int column) const { return std::string{view(column)}; }
        /// Until the next row.
        std::string_view view(int column) const;
        qz::CValue::Bytes bytes(int column) const;
        /// A column that `bind` wrote from a value; null is the invalid value.
        qz::CValue value(int column) const;

    private:
        Statement& statement;
    };

    /// `text` lives as long as the program.
    Statement(Database& owner, const char* text) : database{owner}, sql{text} {}

    /// As an argument of LIMIT.
    static std::int64_t limit(std::size_t rows) {
        constexpr auto most = std::numeric_limits<std::int64_t>::max();
        return rows > static_cast<std::size_t>(most) ? most : static_cast<std::int64_t>(rows);
    }

    template <class... Arguments>
    Run with(const Arguments&... arguments) {
        prepare();
        int index = 0;
        (bind(++index, arguments), ...);
        return Run{*this};
    }

    /// Runs a statement that gives no rows.
    template <class... Arguments>
    void execute(const Arguments&... arguments) {
        auto run = with(arguments...);
        run.next();
    }

private:
    struct Finalizer {
        void operator()(sqlite3_stmt* statement) const;
    };

    void prepare();
    void check(int result) const;
    void bind(int index, std::int64_t number);
    void bind(int index, std::uint64_t number) { bind(index, static_cast<std::int64_t>(number)); }
    void bind(int index, std::uint32_t number) { bind(index, std::int64_t{number}); }
    void bind(int index, std::int32_t number) { bind(index, std::int64_t{number}); }
    void bind(int index, const std::string& text);
    void bind(int index, const qz::CValue::Bytes& bytes);
    void bind(int index, const qz::CValue& value);

    Database& database;
    const char* sql;
    std::unique_ptr<sqlite3_stmt, Finalizer> compiled;
};

} // namespace tessapi
