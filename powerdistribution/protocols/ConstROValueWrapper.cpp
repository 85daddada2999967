#include "powerdistribution/protocols/ConstROValueWrapper.h"

namespace velk::powerdistribution::protocols {

template class ConstROValueWrapper<bool>;
template class ConstROValueWrapper<std::int32_t>;
template class ConstROValueWrapper<std::uint32_t>;
template class ConstROValueWrapper<float>;
template class ConstROValueWrapper<std::string>;
template class ConstROValueWrapper<std::string_view>;

} // namespace velk::powerdistribution::protocols
