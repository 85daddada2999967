#include "daemon/HostFactsWriter.h"

#include "platform/tessapi/InBandAccessor.h"
#include "platform/tessapi/StoreAdvice.h"

#include <exception>
#include <utility>

namespace velk::daemon {

namespace {

using tessapi::DeviceAttribute;
using velk::common::MutexLock;

constexpr std::uint64_t HOST = tessapi::ITessAccessor::ROOT_DEVICE;

void writeHostAddress(tessapi::InBandAccessor& inband, const char* channelName, const std::string& address) {
    const std::uint64_t channel = inband.emplaceChannel(HOST, channelName, false);
    if (inband.getChannelCValue(channel).as_string() != address) {
        inband.setChannelCValue(channel, qz::CValue{address});
    }
}

void writeHostAttribute(tessapi::InBandAccessor& inband, DeviceAttribute attribute, const std::string& text) {
    if (inband.getDeviceAttribute(HOST, attribute) != text) {
        inband.setDeviceAttribute(HOST, attribute, text);
    }
}

} // namespace

HostFactsWriter::HostFactsWriter(Opener storeOpener, IHostSource& hostSource, std::ostream& errorStream,
                                 velk::common::Clock& waitingClock) :
    opener{std::move(storeOpener)}, source{hostSource}, errors{errorStream}, clock{waitingClock} {
    update();
    thread = std::thread{[this] { run(); }};
}

HostFactsWriter::~HostFactsWriter() {
    {
        const MutexLock lock{mutex};
        ending = true;
        changed.notify_all();
    }
    thread.join();
}

void HostFactsWriter::run() {
    MutexLock lock{mutex};
    while (!ending) {
        const velk::common::Clock::Duration due = clock.now() + PERIOD;
        while (!ending && clock.now() < due) {
            clock.waitFor(changed, lock, due - clock.now());
        }
        if (!ending) {
            lock.unlock();
            update();
            lock.lock();
        }
    }
}

std::optional<IHostSource::Reading> HostFactsWriter::look() {
    try {
        IHostSource::Reading reading = source.read();
        tellTrouble(reading.trouble);
        return reading;
    } catch (const std::exception& failure) {
        tellTrouble(std::string{"the facts of this host cannot be read: "} + failure.what());
        return std::nullopt;
    }
}

void HostFactsWriter::tellTrouble(const std::string& present) {
    if (present != trouble && !present.empty()) {
        report(present);
    }
    trouble = present;
}

void HostFactsWriter::update() {
    const std::optional<IHostSource::Reading> reading = look();
    if (!reading) {
        return;
    }
    try {
        if (known != reading->facts) {
            known.reset();
            write(reading->facts);
            known = reading->facts;
        }
        failing = false;
    } catch (const std::exception& failure) {
        store.reset();
        // Whoever watches the store tells that it is lost.
        if (!std::exchange(failing, true) && !tessapi::isStoreLost(failure)) {
            report(std::string{"the facts of this host cannot be noted in the store: "} + failure.what() +
                   "; the device will not hear of them until they can");
        }
    }
}

void HostFactsWriter::report(const std::string& sentence) {
    errors << "powerdistributiond: " + sentence + "\n" << std::flush;
}

void HostFactsWriter::write(const HostFacts& facts) {
    if (!store) {
        store = opener();
    }
    tessapi::InBandAccessor& inband = store->inbandAccessor();
    writeHostAddress(inband, MAC_ADDRESS, facts.macAddress);
    writeHostAddress(inband, IPV4_ADDRESS, facts.ipv4Address);
    writeHostAddress(inband, IPV6_ADDRESS, facts.ipv6Address);
    writeHostAttribute(inband, DeviceAttribute::productName, facts.productName);
    writeHostAttribute(inband, DeviceAttribute::firmwareVersion, facts.firmwareVersion);
}

} // namespace velk::daemon
