#pragma once

#include <string>

namespace velk::daemon {

/// Tells the service manager how far the daemon is: one datagram a message to the socket that it named in
/// NOTIFY_SOCKET. Without one nothing is told. Never throws; what cannot be told is reported in one line on
/// the standard error and changes nothing.
class ServiceNotifier {
public:
    /// `socket` is a path, or a name in the abstract name space when it begins with '@'; empty for nobody.
    explicit ServiceNotifier(std::string socket) : address{std::move(socket)} {}

    static ServiceNotifier fromEnvironment();

    void ready() const { tell("READY=1\nSTATUS=Looking after the device"); }
    void stopping() const { tell("STOPPING=1\nSTATUS=Letting the device go"); }

private:
    void tell(const std::string& state) const;

    std::string address;
};

} // namespace velk::daemon
