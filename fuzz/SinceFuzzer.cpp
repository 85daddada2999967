// A moment as a person writes it.

#include "cli/Failure.h"
#include "cli/SinceText.h"
#include "cli/TimeText.h"
#include "fuzz/Fuzz.h"

using namespace velk::cli;
using velk::fuzz::demand;

VELK_FUZZER(since) {
    constexpr std::int64_t NOW_MS = 1795268291123;
    constexpr std::int64_t END_OF_9999_MS = 253402300800000;
    try {
        const std::int64_t moment = sinceMs(std::string{input}, NOW_MS);
        const bool hasFourDigits = moment >= 0 && moment < END_OF_9999_MS;
        demand(!hasFourDigits || sinceMs(utcText(moment), NOW_MS) == moment,
               "\"" + utcText(moment) + "\" is another moment");
    } catch (const Failure& refusal) {
        demand(refusal.exitCode() == ExitCode::Usage, "refused, but not as a mistake of the caller");
    }
}
