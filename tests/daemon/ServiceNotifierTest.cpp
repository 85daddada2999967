#include "daemon/ServiceNotifier.h"

#include "testing/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstring>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace velk::daemon {
namespace {

/// The service manager's end: a datagram socket of this name, '@' for the abstract name space.
class Receiver {
public:
    explicit Receiver(const std::string& name) : descriptor{socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK, 0)} {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::memcpy(address.sun_path, name.data(), name.size());
        if (name[0] == '@') {
            address.sun_path[0] = '\0';
        }
        const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size());
        EXPECT_EQ(bind(descriptor, reinterpret_cast<const sockaddr*>(&address), length), 0);
    }
    ~Receiver() { close(descriptor); }
    Receiver(const Receiver&) = delete;
    Receiver& operator=(const Receiver&) = delete;

    /// The next datagram; "" for none.
    std::string next() const {
        std::array<char, 256> buffer{};
        const ssize_t count = recv(descriptor, buffer.data(), buffer.size(), 0);
        return count > 0 ? std::string{buffer.data(), static_cast<std::size_t>(count)} : "";
    }

private:
    int descriptor;
};

TEST(ServiceNotifierTest, TellsReadyAndStoppingInOneDatagramEach) {
    const velk::testing::TemporaryDirectory folder;
    const std::string name = (folder / "notify").string();
    const Receiver manager{name};
    const ServiceNotifier notifier{name};
    notifier.ready();
    notifier.stopping();
    EXPECT_EQ(manager.next(), "READY=1\nSTATUS=Looking after the device");
    EXPECT_EQ(manager.next(), "STOPPING=1\nSTATUS=Letting the device go");
    EXPECT_EQ(manager.next(), "");
}

TEST(ServiceNotifierTest, ReachesASocketInTheAbstractNameSpace) {
    const std::string name = "@velk-test-" + std::to_string(getpid());
    const Receiver manager{name};
    ServiceNotifier{name}.ready();
    EXPECT_EQ(manager.next(), "READY=1\nSTATUS=Looking after the device");
}

TEST(ServiceNotifierTest, WithoutASocketNothingIsTold) {
    ::testing::internal::CaptureStderr();
    ServiceNotifier{""}.ready();
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
}

TEST(ServiceNotifierTest, ASocketThatIsNotThereIsReportedAndChangesNothing) {
    ::testing::internal::CaptureStderr();
    ServiceNotifier{"/nonexistent/notify"}.ready();
    ServiceNotifier{"/" + std::string(200, 'x')}.ready();
    const std::string errors = ::testing::internal::GetCapturedStderr();
    EXPECT_NE(
        errors.find("the service manager at /nonexistent/notify cannot be told: No such file or directory\n"),
        std::string::npos);
    EXPECT_NE(errors.find("NOTIFY_SOCKET is too long for a socket: /xxx"), std::string::npos);
}

} // namespace
} // namespace velk::daemon
