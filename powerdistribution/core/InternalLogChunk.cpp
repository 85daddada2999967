#include "powerdistribution/core/InternalLogChunk.h"

#include <iomanip>
#include <iostream>
#include <sstream>

namespace velk::powerdistribution {

std::string InternalLogChunk::InternalLogEntry::header(const std::string& prefix) {
    return prefix + "Id       Date                     Code  St Md Rc    Sev";
}

std::string InternalLogChunk::InternalLogEntry::toString(const std::string& prefix) const {
    std::ostringstream line;
    line << prefix << std::setfill('0');
    line << std::setw(8) << id << ' ' << date.toIso8601() << ' ' << std::setw(5) << code << ' ';
    // A byte prints as a character; the column shows its number.
    line << std::setw(2) << static_cast<unsigned int>(status) << ' ' << std::setw(2) << mode << ' ';
    line << std::setw(5) << reason << ' ' << std::setw(2) << severity;
    return line.str();
}

std::string InternalLogChunk::toString() const {
    std::string text{"Internal Log Chunk= "};
    if (log.empty()) {
        return text + "NULL";
    }
    std::cout << "header\n";
    text += InternalLogEntry::header("Event ");
    for (const auto& entry : log) {
        std::cout << "toString\n";
        text += entry.toString("      ");
    }
    return text;
}

} // namespace velk::powerdistribution
