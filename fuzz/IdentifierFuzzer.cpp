// Small texts with a form of their own: Uuids, names of stores, marks of processes, numbers of arguments.

#include "fuzz/Fuzz.h"
#include "platform/common/Arguments.h"
#include "platform/common/ProcessMark.h"
#include "platform/common/Uuid.h"
#include "platform/tessapi/engine/StoreUrl.h"

#include <stdexcept>

using velk::fuzz::demand;

VELK_FUZZER(identifier) {
    const std::string text{input};
    try {
        const velk::common::Uuid uuid{text};
        demand(velk::common::Uuid{uuid.toString()} == uuid, "a Uuid prints as another one");
        demand(text.size() == 36, "a Uuid of another length");
    } catch (const std::invalid_argument&) {
    }
    try {
        const tessapi::StoreUrl url{text};
        demand(url.text() == text, "the name of a store prints as another one");
        demand(!url.place().empty(), "a store without a place");
    } catch (const std::invalid_argument&) {
    }
    try {
        const unsigned int number = velk::common::GetTypedArgHelper<unsigned int>::get(text);
        demand(velk::common::GetTypedArgHelper<unsigned int>::get(std::to_string(number)) == number,
               "a number prints as another one");
    } catch (const std::invalid_argument&) {
    }
    velk::common::ProcessMark::mayRun(text);
}
