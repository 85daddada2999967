#include "cli/CommandLine.h"
#include "cli/Failure.h"
#include "cli/OpenStore.h"
#include "cli/SafeOutput.h"
#include "cli/Terminal.h"
#include "platform/common/WallTime.h"
#include "platform/tessapi/StoreAdvice.h"
#include "platform/tessapi/TessAccessor.h"

#include <boost/system/system_error.hpp>

#include <iostream>
#include <stdexcept>
#include <unistd.h>

namespace {

using velk::cli::CommandLine;
using velk::cli::ExitCode;
using velk::cli::Failure;
using velk::cli::Session;
using velk::cli::Style;
using velk::cli::Surroundings;

ExitCode runAlone(const CommandLine& line) {
    Surroundings surroundings{line.store,          std::cin,  std::cout,
                              std::cerr,           line.json, Style::forFile(STDOUT_FILENO),
                              velk::common::wallMs};
    return line.runAlone(surroundings);
}

ExitCode runCommand(const CommandLine& line) {
    if (!line.needsStore()) {
        return runAlone(line);
    }
    const auto store = velk::cli::openStore(line.store, false);
    Session session{*store,
                    std::cin,
                    std::cout,
                    std::cerr,
                    velk::common::Clock::system(),
                    line.json,
                    isatty(STDIN_FILENO) == 1 && isatty(STDERR_FILENO) == 1,
                    Style::forFile(STDOUT_FILENO),
                    velk::common::wallMs,
                    velk::cli::terminalWidth(STDOUT_FILENO),
                    velk::cli::speaksUtf8()};
    return line.run(session);
}

ExitCode runReporting(const CommandLine& line) {
    try {
        return runCommand(line);
    } catch (const Failure& failure) {
        std::cerr << "tess: " << failure.what() << "\n";
        return failure.exitCode();
    } catch (const boost::system::system_error& failure) {
        const auto advice = tessapi::storeAdvice(failure.code());
        std::cerr << "tess: " << failure.what() << (advice.empty() ? "" : "; " + advice) << "\n";
        return ExitCode::StoreUnreachable;
    } catch (const std::exception& failure) {
        std::cerr << "tess: " << failure.what() << "\n";
        return ExitCode::Failed;
    }
}

} // namespace

int main(int argc, char** argv) {
    // A device may say anything, and an attacker anything as a device.
    const velk::cli::SafeOutput out{std::cout, isatty(STDOUT_FILENO) == 1,
                                    Style::forFile(STDOUT_FILENO).isColoured()};
    const velk::cli::SafeOutput err{std::cerr, isatty(STDERR_FILENO) == 1, false};
    CommandLine line;
    if (const auto ended = line.parse(argc, argv)) {
        return static_cast<int>(*ended);
    }
    const ExitCode code = runReporting(line);
    std::cout.flush();
    if (!std::cout.good()) {
        std::cerr << "tess: the output could not be written whole\n";
        return static_cast<int>(ExitCode::Failed);
    }
    return static_cast<int>(code);
}
