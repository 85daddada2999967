#pragma once

#include "platform/common/Export.h"
#include "platform/tessapi/catalogue/CatalogueEntry.h"

#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace tessapi {

/// The types, units, descriptions and state names of the store's channels, by channel name.
///
/// The built-in catalogue is catalogue.json of this folder. Files of the same form add names to it or change
/// what it says:
///
///     {
///       "PowerDistribution.Status.Source": {"states": {"1": "mains", "2": "generator"}},
///       "Plant.Humidity": {"type": "float32", "unit": "%", "description": "Humidity of the room"}
///     }
///
/// A member that an entry leaves out stays as it was; "type" is needed for a new name only. "states" replaces
/// all states, and a changed "type" without "states" drops them. The keys of "states" are values of the type:
/// decimal numbers, "false" and "true", or texts.
///
/// Threads: read-only after construction.
class VELK_EXPORT Catalogue {
public:
    using Entries = std::map<std::string, CatalogueEntry, std::less<>>;

    /// The catalogue without any files. Parsed on the first call, under the guard of a static.
    static const Catalogue& builtin();

    /// The built-in catalogue with the files `catalogue.d/*.json` beside `storeFile` merged over it, in byte
    /// order of their names. A bad file gives one line "FILE:LINE:COLUMN: reason" on the standard error and
    /// is skipped as a whole; one that cannot be read gives "FILE: reason".
    static Catalogue forStore(const std::filesystem::path& storeFile);

    /// The lines that `forStore` would give.
    static std::vector<std::string> faultsFor(const std::filesystem::path& storeFile);

    /// What is known of channels of this name, or null. A channel without entry is a string.
    /// Lives as long as the catalogue.
    const CatalogueEntry* find(std::string_view name) const;

    const Entries& entries() const { return known; }

private:
    Catalogue() = default;
    void mergeFiles(const std::filesystem::path& storeFile,
                    const std::function<void(const std::string&)>& tell);

    Entries known;
};

} // namespace tessapi
