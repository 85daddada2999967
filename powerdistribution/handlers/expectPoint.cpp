#include "powerdistribution/handlers/expectPoint.h"

#include "powerdistribution/connectors/IExpectingConnector.h"

namespace velk::powerdistribution::handlers {

void expectPoint(connectors::IConnector& connector, const EPath& path) {
    if (auto* expecting = dynamic_cast<connectors::IExpectingConnector*>(&connector)) {
        expecting->expect({path, {}, {}});
    }
}

} // namespace velk::powerdistribution::handlers
