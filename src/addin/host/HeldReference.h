#pragma once

#include "base/VbError.h"

#include <memory>

namespace velmora {

// The object behind a host reference the add-in holds. Once the add-in has
// let go of the host (ReleaseAll), its references are cleared, and a routine
// still running inside a yield that uses one gets the run-time error a
// cleared object variable raises ("Object variable ... not set"), which its
// own error trap handles like any other host failure.
template <typename T>
T& held(const std::shared_ptr<T>& reference) {
    if (!reference)
        throw VbError(VbError::ObjectVariableNotSet);
    return *reference;
}

} // namespace velmora
