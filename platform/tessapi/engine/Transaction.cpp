#include "platform/tessapi/engine/Transaction.h"

#include <sqlite3.h>

namespace tessapi {

Transaction::Transaction(Database& owner, Kind kind) : database{owner} {
    database.begin(kind == Kind::write);
}

Transaction::~Transaction() {
    // Some failures have rolled it back already; then there is nothing left to do.
    if (open && sqlite3_get_autocommit(database.handle()) == 0) {
        sqlite3_exec(database.handle(), "ROLLBACK", nullptr, nullptr, nullptr);
    }
}

void Transaction::commit() {
    database.commit();
    open = false;
}

} // namespace tessapi
