// simctl: a tester's hand on a simulated device, through the control socket of the simulator plug-in.

#include "platform/common/lwjson/Deserializer.h"
#include "plugins/simulator/simctl/Connection.h"
#include "plugins/simulator/simctl/Words.h"
#include "plugins/simulator/world/Glob.h"

#include <algorithm>
#include <exception>
#include <iomanip>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

namespace {

using velk::common::lwjson::Deserializer;
using velk::common::lwjson::Node;
using velk::simulator::matchesGlob;
using velk::simulator::simctl::commandOf;
using velk::simulator::simctl::Connection;
using velk::simulator::simctl::UsageError;

constexpr int DONE = 0;
constexpr int FAILED = 1;
constexpr int USAGE = 2;

constexpr const char* HELP = R"(usage: simctl [--json] [--no-wait] SOCKET COMMAND...
Breaks, loads and watches a simulated device. SOCKET is the file that the member "control" of the simulator's
configuration names. COMMAND is a verb with its members, or one JSON object, or "-" for JSON lines from the
standard input. The answers are printed as they come.

  mains lost|normal|sag|swell [input=N] [phase=N] [voltage=V] [frequency=HZ]
  load watts=W|percent=P [outlet=N | output=N] [phase=N]
  battery [charge=P] [temperature=C] [failed=true|false] [present=true|false]
  get PATH               what the device itself holds
  set PATH VALUE         as if done at the device's own panel
  action PATH            likewise
  points [GLOB]          all data points, "*" standing for any text
  fault KIND [...]       linkLost | silent | slow ms=N | flapping ms=N | wrongAlternative path=P |
                         garbage path=P | refuseWrites | noIdentity | bootloader | notFound |
                         throw operation=O [path=P] [times=N] [what=TEXT] [kindOfException=standard|other]
  clear [KIND]           ends all faults, or those of one kind
  identity [serialNumber=T] [firmwareVersion=T] [uuid=T] [model=T]
  counts Outlets=N ...   how many of each the device has
  log add=N | wrap=true | restart=true
  advance SECONDS        moves the simulated time and returns when it is there
  speed FACTOR           simulated seconds a real second
  play FILE              plays a scenario and shows its headlines to its end (--no-wait: returns at once)
  follow                 shows the headlines of whatever is played
  say TEXT               a headline of your own
  status                 time, speed, link, scenario and faults

  --json      prints answers and headlines as the simulator gives them
  --no-wait   does not follow a scenario that was started
  --help      prints this

Exit codes: 0 done, 1 refused or not reached, 2 usage.

  simctl sim.sock mains lost input=1
  simctl sim.sock fault slow ms=50
  simctl sim.sock '{"do":"load","outlet":3,"watts":200}'
)";

struct Request {
    bool isJson{false};
    bool waits{true};
    std::string socket;
    std::vector<std::string> words;
};

bool isGood(const Node& answer) {
    const Node* ok = answer.findMember("ok");
    return ok != nullptr && ok->asBool();
}

/// A refusal goes to the standard error as its words.
int show(const std::string& answer, bool isJson) {
    const Deserializer json{answer};
    if (isGood(json.root())) {
        std::cout << answer + "\n";
        return DONE;
    }
    const Node* error = json.findMember("error");
    (isJson ? std::cout : std::cerr) << (isJson || error == nullptr ? answer : error->text()) + "\n";
    return FAILED;
}

void showHeadline(const Node& line) {
    const Node* at = line.findMember("at");
    const Node* text = line.findMember("say");
    std::ostringstream row;
    row << std::fixed << std::setprecision(1) << std::setw(9) << (at == nullptr ? 0.0 : at->asDouble())
        << " s  " << (text == nullptr ? "(the scenario has ended)" : text->text()) << "\n";
    std::cout << row.str() << std::flush;
}

/// Shows headlines until the simulator ends, or to the end of the scenario that was just started.
int follow(Connection& connection, bool isJson, bool endsWithScenario) {
    for (;;) {
        const std::string line = connection.receive();
        const Deserializer json{line};
        if (isJson) {
            std::cout << line + "\n" << std::flush;
        } else {
            showHeadline(json.root());
        }
        if (endsWithScenario && json.findMember("ended") != nullptr) {
            return DONE;
        }
    }
}

int play(Connection& connection, const Request& request) {
    connection.send(commandOf(request.words));
    const std::string answer = connection.receive();
    const Deserializer json{answer};
    if (!isGood(json.root()) || !request.waits) {
        return show(answer, request.isJson);
    }
    connection.send(R"({"do":"follow","from":)" + json.findMember("headline")->text() + "}");
    connection.receive();
    return follow(connection, request.isJson, true);
}

int showPoints(Connection& connection, const Request& request) {
    const std::string pattern = request.words.size() > 1 ? request.words[1] : "*";
    connection.send(R"({"do":"points"})");
    const std::string answer = connection.receive();
    const Deserializer json{answer};
    const Node* points = json.findMember("points");
    if (points == nullptr || request.isJson) {
        return show(answer, request.isJson);
    }
    std::ostringstream table;
    bool hasAny = false;
    for (const Node& point : points->members()) {
        if (matchesGlob(pattern, point.name())) {
            hasAny = true;
            table << std::left << std::setw(66) << point.name() << ' ' << std::setw(9)
                  << point.findMember("type")->text() << ' '
                  << (point.findMember("writable")->asBool() ? "w " : "  ")
                  << point.findMember("value")->text() << "\n";
        }
    }
    std::cout << table.str();
    if (!hasAny) {
        std::cerr << "no data point matches " + pattern + "\n";
    }
    return hasAny ? DONE : FAILED;
}

int passLines(Connection& connection, bool isJson) {
    int worst = DONE;
    for (std::string line; std::getline(std::cin, line);) {
        if (line.find_first_not_of(" \t\r") != std::string::npos) {
            connection.send(line);
            worst = std::max(worst, show(connection.receive(), isJson));
        }
    }
    return worst;
}

int run(const Request& request) {
    const std::string& verb = request.words.front();
    const std::string command = verb == "-" || verb == "points" ? std::string{}
                                : verb.front() == '{'           ? verb
                                                                : commandOf(request.words);
    Connection connection{request.socket};
    if (verb == "-") {
        return passLines(connection, request.isJson);
    }
    if (verb == "points") {
        return showPoints(connection, request);
    }
    if (verb == "play") {
        return play(connection, request);
    }
    connection.send(command);
    const std::string answer = connection.receive();
    if (verb != "follow" || !isGood(Deserializer{answer}.root())) {
        return show(answer, request.isJson);
    }
    return follow(connection, request.isJson, false);
}

/// Throws UsageError.
Request parse(const std::vector<std::string>& arguments) {
    Request request;
    std::size_t next = 0;
    for (; next < arguments.size() && arguments[next].rfind("--", 0) == 0; ++next) {
        if (arguments[next] == "--json") {
            request.isJson = true;
        } else if (arguments[next] == "--no-wait") {
            request.waits = false;
        } else {
            throw UsageError{"unknown option " + arguments[next]};
        }
    }
    if (next + 2 > arguments.size() || arguments[next + 1].empty()) {
        throw UsageError{next < arguments.size() ? "a command is missing" : "the socket is missing"};
    }
    request.socket = arguments[next];
    request.words.assign(arguments.begin() + static_cast<std::ptrdiff_t>(next) + 1, arguments.end());
    return request;
}

} // namespace

int main(int count, char** texts) {
    const std::vector<std::string> arguments{texts + 1, texts + count};
    try {
        if (arguments == std::vector<std::string>{"--help"} || arguments == std::vector<std::string>{"-h"}) {
            std::cout << HELP;
            return DONE;
        }
        return run(parse(arguments));
    } catch (const UsageError& mistake) {
        std::cerr << std::string{"simctl: "} + mistake.what() + "; simctl --help tells more\n";
        return USAGE;
    } catch (const std::exception& failure) {
        std::cerr << std::string{"simctl: "} + failure.what() + "\n";
        return FAILED;
    }
}
