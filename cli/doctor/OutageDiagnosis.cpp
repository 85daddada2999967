#include "cli/doctor/OutageDiagnosis.h"

#include "cli/TimeText.h"

namespace velk::cli {

namespace {

constexpr const char* QUEUE = "queue";
/// A program says every second or two what it keeps.
constexpr std::int64_t LONGEST_SILENCE_MS = 10'000;

std::string countOf(std::uint64_t count, const std::string& one) {
    return std::to_string(count) + " " + one + (count == 1 ? "" : "s");
}

/// "412 values of 300 channels".
std::string keptText(const tessapi::StoreOutage& outage) {
    return outage.values == 0
               ? "no value yet"
               : countOf(outage.values, "value") + " of " + countOf(outage.channels, "channel");
}

Diagnosis diagnoseOutage(const tessapi::StoreOutage& outage, std::int64_t nowMs, const ProgramName& nameOf) {
    const std::string name = nameOf(outage.process);
    const std::string process = "process " + std::to_string(outage.process);
    std::string text = (name.empty() ? process : name + " (" + process + ")") + " keeps " + keptText(outage) +
                       " for " + outage.store + ", whose server it misses since " +
                       timeAndAge(outage.sinceMs, nowMs) +
                       ": of a measured channel the newest value, of actions and settings every one, up to " +
                       std::to_string(outage.most);
    if (outage.givenUp != 0) {
        text += "; " + countOf(outage.givenUp, "value") + " were too many and are given up";
    }
    if (nowMs - outage.saidMs > LONGEST_SILENCE_MS) {
        text += "; it has said so " + ageText(outage.saidMs, nowMs) + ", and nothing since";
    }
    return Diagnosis::problem(
        QUEUE, text,
        "start the server, or mend the way to it: what waits is written by itself then, "
        "and lost when the program ends before");
}

Diagnosis diagnoseSilence(const tessapi::StoreOutages& found, bool isReached) {
    if (found.folders.empty()) {
        return Diagnosis::note(
            QUEUE, "what the daemon keeps while it does not reach the server cannot be seen from here",
            "its journal says since when it keeps values, and how many of them were written afterwards: "
            "journalctl -u powerdistributiond");
    }
    std::string folders;
    for (const std::string& folder : found.folders) {
        folders += (folders.empty() ? "" : ", ") + folder;
    }
    const std::string text = "no program of this machine says that values wait (" + folders + ")";
    return isReached
               ? Diagnosis::ok(QUEUE, text)
               : Diagnosis::note(QUEUE, text, "ask on the machine where the daemon runs, if it is another");
}

} // namespace

Diagnoses diagnoseOutages(const tessapi::StoreOutages& found, bool isReached, std::int64_t nowMs,
                          const ProgramName& nameOf) {
    Diagnoses diagnoses;
    for (const tessapi::StoreOutage& outage : found.outages) {
        diagnoses.push_back(diagnoseOutage(outage, nowMs, nameOf));
    }
    for (const std::string& refused : found.refused) {
        diagnoses.push_back(Diagnosis::note(QUEUE, refused + "; what is in it does not count",
                                            "see who made it, and remove it"));
    }
    if (found.outages.empty()) {
        diagnoses.push_back(diagnoseSilence(found, isReached));
    }
    return diagnoses;
}

} // namespace velk::cli
