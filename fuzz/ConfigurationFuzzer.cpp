// The configuration file: as the library reads it, and as the daemon checks it.

#include "daemon/ConfigurationCheck.h"
#include "daemon/ConfigurationFile.h"
#include "daemon/HostSettings.h"
#include "fuzz/InputFile.h"
#include "fuzz/Places.h"
#include "powerdistribution/core/Configuration.h"

#include <sstream>

using velk::fuzz::demand;

VELK_FUZZER(configuration) {
    static const velk::fuzz::InputFile file;
    static std::ostringstream errors;
    file.hold(input);

    const velk::daemon::Findings findings = velk::daemon::checkFile(file.path());
    for (const velk::daemon::Finding& finding : findings) {
        velk::fuzz::demandPlacedMessage(input, finding.text, file.path());
    }
    velk::daemon::Findings ignored;
    if (const auto read = velk::daemon::ConfigurationFile::read(file.path(), ignored)) {
        velk::daemon::HostSettings::of(*read);
    }

    std::streambuf* const former = std::cerr.rdbuf(errors.rdbuf());
    const auto configuration = velk::powerdistribution::Configuration::load(file.path());
    std::cerr.rdbuf(former);
    const bool failed = !errors.str().empty();
    errors.str("");
    demand(configuration.path == file.path(), "the path is not kept");
    if (!hasError(findings)) {
        demand(!failed, "the library refuses what the check takes");
        demand(configuration.maxThreads >= 1 && configuration.maxThreads <= 256, "threads out of range");
        demand(configuration.maxCpuLoad >= 1 && configuration.maxCpuLoad <= 100, "load out of range");
        demand(configuration.maxRestTime >= 1 && configuration.maxRestTime <= 3'600'000, "rest out of range");
    }
}
