// The out-of-line destructors of the plug-in contract: one vtable each, in this library.

#include "powerdistribution/protocols/IProtocol.h"
#include "powerdistribution/protocols/IProtocolBuilder.h"
#include "powerdistribution/protocols/IProtocolLibrary.h"
#include "powerdistribution/protocols/IValueWrapper.h"
#include "powerdistribution/protocols/IWrapperFactory.h"

namespace velk::powerdistribution::protocols {

IValueWrapper::~IValueWrapper() = default;

IWrapperFactory::~IWrapperFactory() = default;

IProtocol::~IProtocol() = default;

void IProtocol::reserved5() {}

void IProtocol::reserved8() {}

IProtocolBuilder::~IProtocolBuilder() = default;

IProtocolLibrary::~IProtocolLibrary() = default;

} // namespace velk::powerdistribution::protocols
