#include "platform/tessapi/StoreOutages.h"

#include "platform/tessapi/engine/StoreUrl.h"
#include "platform/tessapi/network/OutageNote.h"

namespace tessapi {

StoreOutages storeOutages() {
    StoreOutages found;
    for (const auto& folder : StoreUrl::runtimeFolders()) {
        OutageNote::look(folder, found);
    }
    return found;
}

} // namespace tessapi
