#pragma once

#include "platform/tessapi/engine/Database.h"

namespace tessapi {

/// Holds a transaction for a scope; it is rolled back unless it was committed.
class Transaction {
public:
    enum class Kind {
        read,  ///< sees the store as it is at its first statement
        write, ///< the caller holds the lock between the processes
    };

    Transaction(Database& owner, Kind kind);
    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;

    void commit();

private:
    Database& database;
    bool open{true};
};

} // namespace tessapi
