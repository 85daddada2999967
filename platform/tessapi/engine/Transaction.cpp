#include "platform/tessapi/engine/Transaction.h"

namespace tessapi {

Transaction::Transaction(Database& owner, Kind kind) : database{owner} {
    database.begin(kind == Kind::write);
}

Transaction::~Transaction() {
    if (open) {
        database.rollBack();
    }
}

void Transaction::commit() {
    database.commit();
    open = false;
}

} // namespace tessapi
