#include "plugins/nut/Tables.h"

namespace velk::nut {

const std::vector<powerdistribution::protocols::Rule>& deviceRules() {
    static const auto forest = [] {
        Rows rows;
        addDeviceRows(rows);
        addInputRows(rows);
        addOutputRows(rows);
        addOutletRows(rows);
        addConverterRows(rows);
        addStorageRows(rows);
        addEnvironmentRows(rows);
        return powerdistribution::protocols::growRules(rows);
    }();
    return forest;
}

} // namespace velk::nut
