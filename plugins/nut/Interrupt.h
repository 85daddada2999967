#pragma once

namespace velk::nut {

/// Ends every wait for the server at once, so that a stop never has to sit a deadline out.
/// Threads: any.
class Interrupt {
public:
    /// Throws std::system_error when the system has no descriptors left.
    Interrupt();
    ~Interrupt();
    Interrupt(const Interrupt&) = delete;
    Interrupt& operator=(const Interrupt&) = delete;

    /// From now on waits end with a `LinkError`, until `clear`.
    void raise();
    void clear();
    bool isRaised() const;

    /// Becomes readable while the interrupt is raised.
    int descriptor() const { return event; }

private:
    int event;
};

} // namespace velk::nut
