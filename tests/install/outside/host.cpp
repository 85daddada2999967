// Loads the plug-ins of a folder and asks the first for its voltage.

#include "platform/common/DynamicLibrary.h"
#include "powerdistribution/core/PowerDistributionManager.h"
#include "powerdistribution/protocols/IProtocolLibrary.h"

#include <iostream>

int main(int, char** arguments) {
    using namespace velk::powerdistribution;
    const PowerDistributionManager manager;
    const auto libraries = velk::common::loadDynamicLibraries(arguments[1]);
    if (libraries.size() != 1 || manager.operatingStatus() != 0) {
        std::cerr << libraries.size() << " plug-ins\n";
        return 1;
    }
    auto& library = libraries.front()->protocolLibrary();
    const std::shared_ptr<protocols::IProtocol> protocol = library.builder()->create();
    const auto factory = library.wrapperFactory(protocol);
    const auto wrapper = factory->buildWrapper({ECircuit::Inputs, 1U, EMeasurement::Voltage});
    std::cout << library.uuid() << ": " << wrapper->read() << " V\n";
    return wrapper->read() == Value{230.0F} && factory->buildWrapper({EStatus::Mode}) == nullptr ? 0 : 1;
}
