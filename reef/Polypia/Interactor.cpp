#include <Polypia/Interactor.hpp>

namespace Mirk {

Interactor::Interactor() = default;

Interactor::~Interactor() = default;

} // namespace Mirk
