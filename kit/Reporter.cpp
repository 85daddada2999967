#include "kit/Reporter.h"

#include <charconv>
#include <unistd.h>
#include <vector>

namespace velk::kit {

namespace {

constexpr char SEPARATOR = '\t';

std::string escaped(const std::string& text) {
    std::string result;
    for (const char letter : text) {
        switch (letter) {
        case '\\':
            result += "\\\\";
            break;
        case '\n':
            result += "\\n";
            break;
        case SEPARATOR:
            result += "\\t";
            break;
        default:
            result += letter;
        }
    }
    return result;
}

std::string unescaped(std::string_view text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\' || i + 1 == text.size()) {
            result += text[i];
            continue;
        }
        ++i;
        result += text[i] == 'n' ? '\n' : text[i] == 't' ? SEPARATOR : text[i];
    }
    return result;
}

std::vector<std::string_view> fieldsOf(std::string_view line) {
    std::vector<std::string_view> fields;
    for (;;) {
        const std::size_t end = line.find(SEPARATOR);
        fields.push_back(line.substr(0, end));
        if (end == std::string_view::npos) {
            return fields;
        }
        line.remove_prefix(end + 1);
    }
}

std::size_t numberOf(std::string_view text) {
    std::size_t number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

} // namespace

std::string encode(const Record& record) {
    std::string line{static_cast<char>(record.kind)};
    line += SEPARATOR;
    if (record.kind != Record::Kind::Finding) {
        return line + std::to_string(record.number) + "\n";
    }
    const Finding& finding = record.finding;
    line += std::to_string(static_cast<int>(finding.severity));
    for (const std::string& text : {finding.path, finding.expected, finding.came}) {
        line += SEPARATOR + escaped(text);
    }
    return line + "\n";
}

std::optional<Record> decode(std::string_view line) {
    const auto fields = fieldsOf(line);
    if (fields.size() < 2 || fields[0].size() != 1) {
        return std::nullopt;
    }
    Record record;
    record.kind = static_cast<Record::Kind>(fields[0][0]);
    record.number = numberOf(fields[1]);
    if (record.kind == Record::Kind::Finding) {
        constexpr std::size_t FIELDS = 5;
        if (fields.size() != FIELDS) {
            return std::nullopt;
        }
        record.finding = {static_cast<Finding::Severity>(record.number), unescaped(fields[2]),
                          unescaped(fields[3]), unescaped(fields[4])};
    }
    return record;
}

void Reporter::error(const std::string& path, const std::string& expected, const std::string& came) {
    send({Record::Kind::Finding, {Finding::Severity::Error, path, expected, came}, 0});
}

void Reporter::warning(const std::string& path, const std::string& expected, const std::string& came) {
    send({Record::Kind::Finding, {Finding::Severity::Warning, path, expected, came}, 0});
}

void Reporter::note(const std::string& path, const std::string& expected, const std::string& came) {
    send({Record::Kind::Finding, {Finding::Severity::Note, path, expected, came}, 0});
}

void Reporter::send(const Record& record) {
    const std::string line = encode(record);
    const velk::common::MutexLock lock{mutex};
    std::string_view rest{line};
    while (!rest.empty()) {
        const ssize_t written = ::write(descriptor, rest.data(), rest.size());
        if (written <= 0) {
            return; // the parent is gone, and this process will be in a moment
        }
        rest.remove_prefix(static_cast<std::size_t>(written));
    }
}

} // namespace velk::kit
