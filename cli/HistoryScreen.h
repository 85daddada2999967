#pragma once

#include "cli/HistoryAnswer.h"
#include "cli/Point.h"
#include "cli/Session.h"

namespace velk::cli {

/// Shows the past of one data point: to people as a chart of a number, a line for each state, or a list; to
/// programs as a document or as lines of values separated by commas.
class HistoryScreen {
public:
    /// Everything must outlive this object.
    HistoryScreen(Session& whereTo, const Point& dataPoint, const HistoryAnswer& past) :
        session{whereTo}, point{dataPoint}, answer{past} {}

    /// How many columns of a number fill the width.
    static std::size_t columnsFor(const Session& session);

    void print() const;
    void printJson() const;
    void printCsv() const;
    void printCsvOfNumbers() const;
    void printCsvOfChanges() const;

private:
    bool isList() const;
    void printNumber() const;
    void printStates() const;
    void printChanges() const;
    void printTimeAxis(std::size_t indent, std::size_t width) const;
    void printFoot() const;

    Session& session;
    const Point& point;
    const HistoryAnswer& answer;
};

} // namespace velk::cli
