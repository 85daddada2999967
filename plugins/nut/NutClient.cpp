#include "plugins/nut/NutClient.h"

#include "plugins/nut/LinkError.h"
#include "plugins/nut/ProtocolLine.h"
#include "plugins/nut/ServerError.h"

#include <algorithm>
#include <charconv>

namespace velk::nut {

namespace {

[[noreturn]] void refuseAnswer(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) {
        text += " " + word.substr(0, 64);
    }
    throw LinkError{"the server gave an unexpected answer:" + text.substr(0, 200)};
}

bool startsWith(const std::vector<std::string>& words, const std::vector<std::string>& begin) {
    return words.size() >= begin.size() && std::equal(begin.begin(), begin.end(), words.begin());
}

std::vector<std::string> firstWords(const std::vector<std::vector<std::string>>& rows) {
    std::vector<std::string> names;
    names.reserve(rows.size());
    for (const auto& row : rows) {
        names.push_back(row.front());
    }
    return names;
}

} // namespace

NutClient::NutClient(const NutConfiguration& settings, const Interrupt& stopped, velk::common::Clock& time,
                     Duration requestTimeout) :
    configuration{settings},
    clock{time},
    timeout{requestTimeout},
    connection{settings.host, settings.port, stopped, time, deadline()} {}

NutClient::Words NutClient::nextAnswer(Duration until) {
    Words words = splitLine(connection.readLine(until));
    if (words.empty()) {
        throw LinkError{"the server gave an empty line"};
    }
    if (words.front() == "ERR") {
        throw ServerError{words.size() > 1 ? words[1] : std::string{}};
    }
    return words;
}

NutClient::Words NutClient::ask(const std::string& request) {
    const Duration until = deadline();
    connection.send(request + "\n", until);
    return nextAnswer(until);
}

std::vector<NutClient::Words> NutClient::list(const std::string& kind, const std::string& variable) {
    const Duration until = deadline();
    Words subject{"LIST", kind, configuration.ups};
    Words rowBegin{kind, configuration.ups};
    if (!variable.empty()) {
        subject.push_back(variable);
        rowBegin.push_back(variable);
    }
    connection.send(
        "LIST " + kind + " " + configuration.ups + (variable.empty() ? "" : " ") + variable + "\n", until);
    Words words = nextAnswer(until);
    if (words.front() != "BEGIN" || Words(words.begin() + 1, words.end()) != subject) {
        refuseAnswer(words);
    }
    std::vector<Words> rows;
    for (;;) {
        words = nextAnswer(until);
        if (words.front() == "END" && Words(words.begin() + 1, words.end()) == subject) {
            return rows;
        }
        if (!startsWith(words, rowBegin) || words.size() == rowBegin.size() || rows.size() == MAX_ROWS) {
            refuseAnswer(words);
        }
        rows.emplace_back(words.begin() + static_cast<std::ptrdiff_t>(rowBegin.size()), words.end());
    }
}

Variables NutClient::listVariables() {
    Variables variables;
    for (Words& row : list("VAR", {})) {
        if (row.size() != 2) {
            refuseAnswer(row);
        }
        variables.insert_or_assign(std::move(row[0]), std::move(row[1]));
    }
    return variables;
}

std::vector<std::string> NutClient::listWritable() {
    return firstWords(list("RW", {}));
}

std::vector<std::string> NutClient::listCommands() {
    return firstWords(list("CMD", {}));
}

VariableLimits NutClient::limitsOf(const std::string& variable) {
    VariableLimits limits;
    // "TYPE ups variable RW STRING:32", "... RW ENUM", "... RW RANGE", "... RW NUMBER"
    const Words type = ask("GET TYPE " + configuration.ups + " " + variable);
    if (!startsWith(type, {"TYPE", configuration.ups, variable})) {
        refuseAnswer(type);
    }
    for (const std::string& word : type) {
        if (word == "ENUM") {
            limits.words = firstWords(list("ENUM", variable));
        } else if (word == "RANGE") {
            limits.ranges = rangesOf(variable);
        } else if (word.rfind("STRING:", 0) == 0) {
            std::size_t length = 0;
            const char* digits = word.data() + std::string_view{"STRING:"}.size();
            if (std::from_chars(digits, word.data() + word.size(), length).ec == std::errc{}) {
                limits.maxLength = length;
            }
        }
    }
    return limits;
}

std::vector<std::pair<std::string, std::string>> NutClient::rangesOf(const std::string& variable) {
    std::vector<std::pair<std::string, std::string>> ranges;
    for (const Words& row : list("RANGE", variable)) {
        if (row.size() != 2) {
            refuseAnswer(row);
        }
        ranges.emplace_back(row[0], row[1]);
    }
    return ranges;
}

std::string NutClient::get(const std::string& variable) {
    Words words = ask("GET VAR " + configuration.ups + " " + variable);
    if (words.size() != 4 || !startsWith(words, {"VAR", configuration.ups, variable})) {
        refuseAnswer(words);
    }
    return std::move(words[3]);
}

void NutClient::login() {
    for (const std::string& request :
         {"USERNAME " + quote(configuration.user), "PASSWORD " + quote(configuration.password)}) {
        const Words words = ask(request);
        if (words.front() != "OK") {
            refuseAnswer(words);
        }
    }
}

bool NutClient::enableTracking() {
    try {
        const Words words = ask("SET TRACKING ON");
        if (words.front() != "OK") {
            refuseAnswer(words);
        }
        return true;
    } catch (const ServerError&) {
        return false; // an older server; a wrong password shows at the change itself
    }
}

std::string NutClient::startTracked(const std::string& request) {
    const Words words = ask(request);
    if (words.front() != "OK") {
        refuseAnswer(words);
    }
    return words.size() > 2 && words[1] == "TRACKING" ? words[2] : std::string{};
}

std::string NutClient::set(const std::string& variable, std::string_view value) {
    return startTracked("SET VAR " + configuration.ups + " " + variable + " " + quote(value));
}

std::string NutClient::run(const std::string& command, const std::string& parameter) {
    return startTracked("INSTCMD " + configuration.ups + " " + command +
                        (parameter.empty() ? "" : " " + quote(parameter)));
}

TrackedOutcome NutClient::outcome(const std::string& tracking) {
    const Words words = ask("GET TRACKING " + tracking);
    if (words.front() == "PENDING") {
        return TrackedOutcome::Pending;
    }
    if (words.front() != "SUCCESS") {
        refuseAnswer(words);
    }
    return TrackedOutcome::Done;
}

} // namespace velk::nut
