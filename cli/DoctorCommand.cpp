#include "cli/DoctorCommand.h"

#include "cli/Communication.h"
#include "cli/Failure.h"
#include "cli/Inquiry.h"
#include "cli/Json.h"
#include "cli/OpenStore.h"
#include "cli/StoreView.h"
#include "cli/Table.h"
#include "cli/doctor/DaemonDiagnosis.h"
#include "cli/doctor/FileDiagnosis.h"
#include "cli/doctor/MachineDiagnosis.h"
#include "cli/doctor/OutageDiagnosis.h"
#include "cli/doctor/StoreDiagnosis.h"
#include "platform/tessapi/StoreAdvice.h"
#include "platform/tessapi/StoreOutages.h"
#include "platform/tessapi/catalogue/Catalogue.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>

namespace velk::cli {

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;

constexpr const char* NOT_FROM_HERE = "not known from here: the store lies on a server";

/// One visit: what is found out on the way is used further on.
class Visit {
public:
    Visit(Surroundings& with, const std::string& configuration) :
        surroundings{with}, nowMs{with.nowMs()}, configurationFile{configuration} {}

    Diagnoses run() {
        attempt("store", [this] { lookAtStore(); });
        attempt("users", [this] { lookAtUsers(); });
        attempt("permissions", [this] { lookAtFiles(); });
        attempt("catalogue", [this] { lookAtCatalogue(); });
        attempt("configuration", [this] { lookAtConfiguration(); });
        attempt("daemon", [this] { lookAtDaemon(); });
        attempt("clock", [this] { add(diagnoseClock(clockFacts())); });
        attempt("disk", [this] { lookAtDisks(); });
        attempt("wear", [this] { lookAtHealth(); });
        return std::move(found);
    }

private:
    void add(Diagnosis diagnosis) { found.push_back(std::move(diagnosis)); }
    void add(Diagnoses several) {
        found.insert(found.end(), std::make_move_iterator(several.begin()),
                     std::make_move_iterator(several.end()));
    }

    /// What stops one check stops no other.
    template <class Check>
    void attempt(const char* what, Check check) {
        try {
            check();
        } catch (const std::exception& failure) {
            add(Diagnosis::problem(what, std::string{"it cannot be looked at: "} + failure.what(),
                                   "look at what the message names"));
        }
    }

    void lookAtStore() {
        try {
            place = placeOfStore(surroundings.store);
            const auto store = openStore(surroundings.store, false);
            add(diagnosePlace(place));
            settled =
                settledHealth([&store] { return store->browser().health(); }, velk::common::Clock::system());
            health = settled->health;
            add(diagnoseEngine(*health));
            tessapi::StoreImage image = store->browser().image();
            add(diagnoseContent(image));
            view.emplace(std::move(image.content));
            daemon = stateOfDaemon(*view);
            daemon.answers = isDaemonHeard(*store);
        } catch (const std::exception& failure) {
            add(diagnoseOpening(place, failure));
        }
    }

    /// Also true of one that nobody can ask.
    bool isDaemonHeard(tessapi::ITessAccessor& store) {
        Session session{
            store, surroundings.in, surroundings.out, surroundings.err,  velk::common::Clock::system(),
            true,  false,           Style{false},     surroundings.nowMs};
        return daemon.kind != DaemonState::Kind::Running ||
               !Inquiry::isDaemonSilent(session, Communication{*view}, LONGEST_SILENCE);
    }

    void lookAtUsers() {
        std::error_code ignored;
        if (const std::string file = workingFile(); fs::exists(file, ignored)) {
            add(diagnoseUsers(usersOfStore(file)));
        } else if (isOnServer()) {
            add(Diagnosis::note("users", NOT_FROM_HERE));
        }
    }

    bool isOnServer() const { return place.url.starts_with("redis"); }

    /// The file that programs work on, as far as that is known.
    std::string workingFile() const { return health && health->file ? health->file->path : place.file; }

    void lookAtFiles() {
        std::vector<FileFacts> files = filesOfStore(workingFile().empty() ? "" : workingFile());
        if (health && health->copy) {
            const auto copied = filesOfStore(health->copy->path);
            files.insert(files.end(), copied.begin(), copied.end());
        }
        if (!workingFile().empty()) {
            add(diagnoseFiles(files));
        } else if (isOnServer()) {
            add(Diagnosis::note("permissions", NOT_FROM_HERE));
        }
    }

    void lookAtCatalogue() {
        if (isOnServer()) {
            add(Diagnosis::ok("catalogue", "built in; a store on a server has no other"));
        }
        if (workingFile().empty()) {
            return;
        }
        const std::vector<std::string> faults = tessapi::Catalogue::faultsFor(place.file);
        for (const std::string& fault : faults) {
            add(Diagnosis::problem(
                "catalogue", fault,
                "mend the file, and start the programs anew; it is passed over until then"));
        }
        if (faults.empty()) {
            add(Diagnosis::ok("catalogue",
                              "built in, and what is in " +
                                  (fs::path{place.file}.parent_path() / "catalogue.d").string()));
        }
    }

    void lookAtConfiguration() {
        if (configurationFile.empty()) {
            const DaemonConfiguration used = configurationOfDaemon(daemon);
            if (!used.doubt.empty()) {
                add(Diagnosis::note("configuration",
                                    (used.file.empty() ? "" : used.file + " is ") +
                                        "not looked at: " + used.doubt,
                                    "name it when it is the right one: tess doctor --config FILE"));
                return;
            }
            configurationFile = used.file;
        }
        if (configurationFile.empty()) {
            add(Diagnosis::note("configuration", "none is known here", "name it: tess doctor --config FILE"));
            return;
        }
        std::error_code ignored;
        if (fs::is_directory(configurationFile, ignored)) {
            add(Diagnosis::problem("configuration", configurationFile + " is a folder",
                                   "name the file: tess doctor --config FILE"));
            configurationFile.clear();
            return;
        }
        std::string failure;
        const std::string report = checkByDaemon(configurationFile, failure);
        add(failure.empty()
                ? diagnoseConfiguration(report)
                : Diagnoses{Diagnosis::note("configuration", configurationFile + ": " + failure)});
        add(diagnoseSecrets(configurationFile));
    }

    void lookAtDaemon() {
        if (view) {
            add(diagnoseDaemon(daemon, nowMs));
            add(diagnoseCommunication(*view, daemon, nowMs));
        }
    }

    void lookAtDisks() {
        addDisk("store", fs::path{workingFile()}.parent_path().string());
        if (health && health->copy) {
            addDisk("copy", fs::path{health->copy->path}.parent_path().string());
        }
        addDisk("history", historyFolder());
    }

    void lookAtHealth() {
        if (health) {
            add(diagnoseWear(*health, secondsSinceMade(workingFile(), nowMs)));
            add(diagnoseQueues(*settled, nowMs));
        }
        if (isOnServer()) {
            add(diagnoseOutages(tessapi::storeOutages(), health.has_value(), nowMs, nameOfProgram));
        }
    }

    ClockFacts clockFacts() const {
        ClockFacts facts{nowMs, 0, isClockSynchronised(), 0, 0};
        if (view) {
            for (const tessapi::ChannelRecord& channel : view->snapshot().channels) {
                facts.newestStampMs = std::max(facts.newestStampMs, channel.writtenMs);
            }
        }
        if (daemon.kind == DaemonState::Kind::Running) {
            facts.daemonStartedMs = startOfProcessMs(daemon.mark, nowMs);
            facts.daemonSaidMs = daemon.saidMs;
        }
        return facts;
    }

    void addDisk(const char* what, const std::string& folder) {
        if (const auto disk = diskOf(what, folder); !folder.empty() && disk) {
            add(diagnoseDisk(*disk));
        }
    }

    /// Where the daemon keeps the history of values, if in a file.
    std::string historyFolder() const {
        std::ifstream stream{configurationFile};
        const std::string text{std::istreambuf_iterator<char>{stream}, {}};
        const Json file = Json::parse(text, nullptr, false);
        const auto name = Json::json_pointer{"/history/file"};
        if (!file.is_object() || !file.contains(name) || !file[name].is_string()) {
            return "";
        }
        return (fs::path{configurationFile}.parent_path() / file[name].get<std::string>())
            .parent_path()
            .string();
    }

    Surroundings& surroundings;
    const std::int64_t nowMs;
    std::string configurationFile;
    StorePlace place;
    std::optional<SettledHealth> settled;
    std::optional<tessapi::StoreHealth> health; ///< of `settled`
    std::optional<StoreView> view;
    DaemonState daemon;
    Diagnoses found;
};

const char* nameOf(Diagnosis::Kind kind) {
    switch (kind) {
    case Diagnosis::Kind::Ok:
        return "ok";
    case Diagnosis::Kind::Note:
        return "note";
    default:
        return "problem";
    }
}

void printForPrograms(std::ostream& out, const Diagnoses& found, bool isWell) {
    Json list = Json::array();
    for (const Diagnosis& each : found) {
        list.push_back({{"state", nameOf(each.kind)},
                        {"what", each.what},
                        {"detail", each.detail},
                        {"advice", each.advice.empty() ? Json(nullptr) : Json(each.advice)}});
    }
    printDocument(out, Json{{"ok", isWell}, {"findings", list}});
}

void printForPeople(std::ostream& out, const Diagnoses& found, const Style& style) {
    Table table;
    for (const Diagnosis& each : found) {
        const std::string kind = nameOf(each.kind);
        table.add({each.kind == Diagnosis::Kind::Problem ? style.bad(kind)
                   : each.kind == Diagnosis::Kind::Ok    ? style.good(kind)
                                                         : kind,
                   each.what, each.detail});
        if (!each.advice.empty()) {
            table.add({"", "", style.faint("-> " + each.advice)});
        }
    }
    table.print(out);
}

} // namespace

ExitCode runDoctor(Surroundings& surroundings, const std::string& configuration) {
    const Diagnoses found = Visit{surroundings, configuration}.run();
    const bool isWell = std::none_of(found.begin(), found.end(), [](const Diagnosis& each) {
        return each.kind == Diagnosis::Kind::Problem;
    });
    if (surroundings.json) {
        printForPrograms(surroundings.out, found, isWell);
    } else {
        printForPeople(surroundings.out, found, surroundings.style);
    }
    return isWell ? ExitCode::Done : ExitCode::Failed;
}

} // namespace velk::cli
