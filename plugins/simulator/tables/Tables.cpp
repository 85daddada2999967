#include "plugins/simulator/tables/Tables.h"

namespace velk::simulator {

const std::vector<Rule>& deviceRules() {
    static const std::vector<Rule> forest = [] {
        Rows rows;
        addDeviceRows(rows);
        addInputRows(rows);
        addOutputRows(rows);
        addOutletRows(rows);
        addConverterRows(rows);
        addModuleRows(rows);
        addStorageRows(rows);
        addEnvironmentRows(rows);
        addLogRows(rows);
        return powerdistribution::protocols::growRules(rows);
    }();
    return forest;
}

} // namespace velk::simulator
