// The status of a call: what every function that can fail returns, here and at the C interface.
#pragma once

#include <cstdint>

namespace vorlandi {

enum Status : std::int32_t { kSuccess = 0, kFailure = 2 };

}  // namespace vorlandi
