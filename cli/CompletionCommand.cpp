#include "cli/CompletionCommand.h"

#include "cli/CommandTable.h"
#include "platform/program/Completion.h"
#include "platform/program/ManualPage.h"

namespace velk::cli {

ExitCode runCompletion(Surroundings& surroundings, const std::string& shell) {
    surroundings.out << program::completionFor(shell, commandTable());
    return ExitCode::Done;
}

ExitCode runManual(Surroundings& surroundings) {
    surroundings.out << program::manualPage(commandTable());
    return ExitCode::Done;
}

} // namespace velk::cli
