#include "cli/CollectionTable.h"

#include "cli/PartReader.h"
#include "cli/Table.h"
#include "cli/TimeText.h"

#include <algorithm>
#include <array>
#include <optional>

namespace velk::cli {

namespace {

struct Column {
    const char* title;
    const char* point;
};

constexpr auto columns = std::to_array<Column>({
    {"ON", "Status.SwitchedOn"},
    {"VOLTAGE", "Measure.Voltage"},
    {"CURRENT", "Measure.Current"},
    {"POWER", "Measure.ActivePower"},
    {"LOAD", "Measure.PercentLoad"},
    {"OPERATION", "Status.OperatingStatus"},
    {"HEALTH", "Status.HealthState"},
});

std::string cellOf(PartReader& item, const char* point) {
    if (const std::optional<bool> flag = item.flag(point)) {
        return *flag ? "yes" : "no";
    }
    const bool isMeasure = std::string_view{point}.starts_with("Measure.");
    const std::optional<std::string> text = isMeasure ? item.figure(point) : item.state(point);
    return text.value_or("");
}

std::int64_t newestChange(const StoreView& view, const StoreView::Branch& item) {
    std::int64_t newest = 0;
    for (std::size_t i = item.firstPoint; i < item.firstPoint + item.pointCount; ++i) {
        const tessapi::ChannelRecord* channel = view.points()[i].channel;
        newest = channel == nullptr ? newest : std::max(newest, channel->changedMs);
    }
    return newest;
}

using Rows = std::vector<std::vector<std::string>>;

/// Without the columns that are empty below their titles.
Rows withoutEmptyColumns(const Rows& rows) {
    Rows kept(rows.size());
    for (std::size_t column = 0; column < rows.front().size(); ++column) {
        const bool filled = std::any_of(rows.begin() + 1, rows.end(),
                                        [column](const auto& row) { return !row[column].empty(); });
        for (std::size_t i = 0; filled && i < rows.size(); ++i) {
            kept[i].push_back(rows[i][column]);
        }
    }
    return kept;
}

} // namespace

std::vector<std::string> collectionLines(const StoreView& view, const Communication& communication,
                                         const Style& style, std::int64_t nowMs,
                                         const std::vector<const StoreView::Branch*>& items) {
    Rows rows{{style.title("PART"), style.title("NAME")}};
    for (const Column& column : columns) {
        rows[0].push_back(style.title(column.title));
    }
    rows[0].push_back(style.title("CHANGED"));
    rows[0].emplace_back();
    for (const StoreView::Branch* branch : items) {
        PartReader item{view, communication, branch->path};
        std::vector<std::string> row{branch->title, item.text("Attribute.FriendlyName")};
        for (const Column& column : columns) {
            row.push_back(cellOf(item, column.point));
        }
        const std::int64_t newest = newestChange(view, *branch);
        row.push_back(newest == 0 ? "" : style.faint(ageText(newest, nowMs)));
        row.push_back(item.isFresh() ? "" : style.bad("last known"));
        rows.push_back(std::move(row));
    }
    Table table;
    for (auto& row : withoutEmptyColumns(rows)) {
        table.add(std::move(row));
    }
    return table.lines();
}

} // namespace velk::cli
