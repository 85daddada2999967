#include "daemon/DaemonTable.h"

namespace velk::daemon {

namespace {

program::ProgramTable makeTable() {
    program::ProgramTable table;
    table.name = "powerdistributiond";
    table.text = "Looks after the power device of this machine and keeps its picture in the store.";
    table.version = VELK_VERSION;
    table.date = VELK_DATE;
    table.section = 8;
    table.options = {
        {"--config", "FILE", "Configuration file", program::Offer::file},
        {"--check", "", "Say what is wrong with the configuration as FILE:LINE:COLUMN and end"},
        {"--json", "", "With --check: one JSON document, with what became of each plug-in"},
        {"--manual", "", "Print the manual page and exit"},
        {"--completion", "SHELL", "Print the completion of these options for bash, zsh or fish and exit"},
        {"--help,-h", "", "Print this help message and exit"},
        {"--version", "", "Print the version and exit"},
    };
    table.notes = {
        "SIGINT or SIGTERM lets the device go and ends; a second one ends at once.",
        "The store is the one that TESS_URL names, else the one of this machine.",
    };
    table.environment = {
        {"TESS_URL", "Which store"},
        {"STATE_DIRECTORY, XDG_STATE_HOME, HOME", "Without TESS_URL: where the store of this machine lies"},
        {"TESS_WHEN_CORRUPT",
         "refuse or set-aside: what becomes of a corrupt store; before the configuration, after the URL"},
        {"NOTIFY_SOCKET", "Where the service manager wants to be told that the daemon is up"},
    };
    table.files = {
        {VELK_SYSCONFDIR "/velk/powerdistributiond.json", "The configuration of the service"},
    };
    table.exitCodes = {
        {"0", "ended as asked or with a good configuration"},
        {"1", "failed"},
        {"2", "usage"},
        {"3", "bad configuration"},
        {"8", "ended at once by a second signal"},
    };
    table.seeAlso = {"tess(1)"};
    return table;
}

} // namespace

const program::ProgramTable& daemonTable() {
    static const program::ProgramTable table = makeTable();
    return table;
}

} // namespace velk::daemon
