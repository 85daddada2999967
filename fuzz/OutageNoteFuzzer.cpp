// What a program notes of an outage, in a folder in which others may write too.

#include "fuzz/Fuzz.h"
#include "platform/tessapi/network/OutageNote.h"

#include <stdexcept>
#include <string>

using tessapi::OutageNote;
using velk::fuzz::demand;

VELK_FUZZER(outage_note) {
    try {
        const OutageNote::Content content = OutageNote::contentOf(input);
        demand(content.outage.process > 0, "no process");
        demand(content.outage.sinceMs >= 0 && content.outage.saidMs >= 0, "a time before all times");
        demand(content.outage.store.find('\n') == std::string::npos, "a store of two lines");
        const std::string text = OutageNote::textOf(content.outage, content.mark);
        const OutageNote::Content again = OutageNote::contentOf(text);
        demand(OutageNote::textOf(again.outage, again.mark) == text, "written again it is another one");
    } catch (const std::runtime_error& refusal) {
        demand(*refusal.what() != '\0', "refused without a reason");
    }
}
