#include "platform/common/BootId.h"

#include <fstream>

namespace velk::common {

std::string presentBoot() {
    std::ifstream file{"/proc/sys/kernel/random/boot_id"};
    std::string id;
    std::getline(file, id);
    return id;
}

} // namespace velk::common
