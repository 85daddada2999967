#pragma once

#include "platform/tessapi/ITessAccessor.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace tessapi {

/// A client of the store that `TESS_URL` names:
/// - `sqlite:PATH` for the store of the machine, `sqlite:PATH?working=FOLDER` for one that is worked on in
///   memory with a copy on disk;
/// - `memory:NAME` for one that lives in this process as long as a client of that name does;
/// - `redis://HOST/SITE`, `redis+unix://`, `redis+sentinel://` and `redis+cluster://`, or `rediss…` with
///   encryption, for one on servers of the network.
///
/// Without `TESS_URL`: `$STATE_DIRECTORY/tess.db`, else `$XDG_STATE_HOME/velk/tess.db`, else
/// `~/.local/state/velk/tess.db`, worked on in memory where the machine has a folder for that. All options
/// are in docs/store-reference.md.
///
/// Has one client thread of its own, on which all its callbacks run; the destructor ends it, waiting for a
/// callback that is running. Destroy it only from outside of its callbacks.
class VELK_EXPORT TessAccessor : public ITessAccessor {
public:
    /// `name` is the program's name, for messages. `create` true makes a store that is not there yet; false
    /// fails. Throws boost::system::system_error that names the store and the cause, std::invalid_argument
    /// for a URL that is none.
    TessAccessor(const std::string& name, bool create);

    /// The same for a store named by `url` instead of the environment.
    static std::unique_ptr<TessAccessor> open(const std::string& name, const std::string& url,
                                              bool create = true);

    ~TessAccessor() override;
    TessAccessor(const TessAccessor&) = delete;
    TessAccessor& operator=(const TessAccessor&) = delete;

    /// The URL that the environment gives, for messages.
    static std::string defaultUrl();

    InBandAccessor& inbandAccessor() override;
    DataAlarms& alarmsAccessor() override;
    StoreBrowser& browser() override;
    std::uint64_t deviceIdOf(const velk::common::Uuid& uuid) override;
    velk::common::Uuid uuidOf(std::uint64_t deviceId) override;
    std::uint64_t emplaceDevice(const velk::common::Uuid& uuid, std::uint64_t parentId,
                                std::uint64_t wantedId) override;
    void removeAllSubDevicesExcept(std::uint64_t device, const std::vector<std::uint64_t>& keep,
                                   unsigned int limit) override;

private:
    class Client;
    explicit TessAccessor(std::unique_ptr<Client> opened);

    std::unique_ptr<Client> client;
};

} // namespace tessapi
