#include "platform/common/ProcessMark.h"

#include "platform/common/BootId.h"
#include "platform/common/Uuid.h"

#include <array>
#include <climits>
#include <fstream>
#include <sstream>
#include <unistd.h>

namespace velk::common {

namespace {

/// When the process was started, in ticks since the boot; empty when there is no such process or only its
/// remains.
std::string startOf(const std::string& pid) {
    std::ifstream file{"/proc/" + pid + "/stat"};
    std::string line;
    std::getline(file, line);
    // The name in parentheses may hold anything, so the fields are counted from its end: the state is the
    // third of the line, the start the 22nd (proc(5)).
    const auto nameEnd = line.rfind(')');
    if (nameEnd == std::string::npos) {
        return {};
    }
    std::istringstream fields{line.substr(nameEnd + 1)};
    std::string field;
    fields >> field;
    if (field == "Z" || field == "X") {
        return {};
    }
    for (int number = 4; number <= 22; ++number) {
        fields >> field;
    }
    return fields ? field : std::string{};
}

std::string presentSpace() {
    char target[PATH_MAX];
    const auto length = ::readlink("/proc/self/ns/pid", target, sizeof target);
    return length < 0 ? std::string{"unknown"} : std::string(target, static_cast<std::size_t>(length));
}

/// The name of the host stands in for an identifier that there is not.
std::string presentMachine() {
    std::ifstream file{"/etc/machine-id"};
    std::string id;
    std::getline(file, id);
    if (id.empty()) {
        std::array<char, HOST_NAME_MAX + 1> name{};
        ::gethostname(name.data(), HOST_NAME_MAX);
        id = name.data();
    }
    return Uuid{Uuid::VELK_NAMESPACE, "machine " + id}.toString();
}

/// The text behind "name=" up to the next blank; empty when there is none.
std::string fieldOf(const std::string& mark, const std::string& name) {
    std::istringstream words{mark};
    for (std::string word; words >> word;) {
        if (word.rfind(name + "=", 0) == 0) {
            return word.substr(name.size() + 1);
        }
    }
    return {};
}

} // namespace

std::string ProcessMark::ofThisProcess() {
    const std::string pid = std::to_string(::getpid());
    return "pid=" + pid + " start=" + startOf(pid) + " boot=" + presentBoot() + " space=" + presentSpace() +
           " machine=" + presentMachine();
}

bool ProcessMark::mayRun(const std::string& mark, Origin origin) {
    const std::string pid = fieldOf(mark, "pid");
    const std::string start = fieldOf(mark, "start");
    if (pid.empty() || pid.find_first_not_of("0123456789") != std::string::npos || start.empty()) {
        return true;
    }
    // A container has an identifier of its own but the boot of its host, so that the boot is what counts for
    // a mark that must be of this machine.
    const std::string machine = fieldOf(mark, "machine");
    if (origin == Origin::anyMachine && !machine.empty() && machine != presentMachine()) {
        return true;
    }
    if (fieldOf(mark, "boot") != presentBoot()) {
        return false;
    }
    return fieldOf(mark, "space") != presentSpace() || startOf(pid) == start;
}

} // namespace velk::common
