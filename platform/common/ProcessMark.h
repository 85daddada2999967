#pragma once

#include "platform/common/Export.h"

#include <string>

namespace velk::common {

/// One running process, as a text that another process can check later.
///
/// The text holds the process's number, when it was started, the boot of the machine, the space in which the
/// number counts, and the machine, so that another process with the same number is not taken for it.
class VELK_EXPORT ProcessMark {
public:
    /// Of the calling process: "pid=123 start=4567 boot=<uuid> space=pid:[4026531836] machine=<uuid>". The
    /// last is made from the machine's own identifier, which it does not give away.
    static std::string ofThisProcess();

    /// Where a mark can come from.
    enum class Origin {
        anyMachine,
        thisMachine, ///< one of another machine was brought here, and its process can be no more
    };

    /// False when the process that `mark` names has certainly ended. True when it runs, and also when that
    /// cannot be told from here (another machine, another space of processes, a text that is no mark).
    static bool mayRun(const std::string& mark, Origin origin = Origin::anyMachine);
};

} // namespace velk::common
