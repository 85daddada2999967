#pragma once

#include "cli/doctor/Diagnosis.h"
#include "platform/tessapi/StoreHealth.h"
#include "platform/tessapi/StoreImage.h"

#include <exception>
#include <string>
#include <vector>

namespace velk::cli {

/// Which store is meant, and who says so. A plain value.
struct StorePlace {
    std::string url;
    std::string reason; ///< "named by --store", "TESS_URL", "no TESS_URL: STATE_DIRECTORY"
    std::string file;   ///< of a store on disk; empty for any other
};

/// Of `named`, or without it of the environment. Throws `Failure` when that names none.
StorePlace placeOfStore(const std::string& named);

/// A program that has the store open.
struct StoreUser {
    int process{0};
    std::string program;
};

/// The name of a program by its process; empty when there is none.
std::string nameOfProgram(int process);

/// Those that this user may see, by their numbers; `file` is the one that programs work on.
std::vector<StoreUser> usersOfStore(const std::string& file);

Diagnosis diagnoseOpening(const StorePlace& place, const std::exception& failure);
Diagnosis diagnosePlace(const StorePlace& place);
Diagnosis diagnoseEngine(const tessapi::StoreHealth& health);
/// Whether what the store holds fits together.
Diagnosis diagnoseContent(const tessapi::StoreImage& image);
Diagnosis diagnoseUsers(const std::vector<StoreUser>& users);

} // namespace velk::cli
