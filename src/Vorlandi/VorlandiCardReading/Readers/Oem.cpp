#include "Vorlandi/VorlandiCardReading/Readers/Readers.hpp"

namespace vorlandi {
std::int32_t ReadOEM(BlockInput& input, Vorlanrecord&) { return blockFailed(input, "ReadOEM", "Not written yet."); }
std::int32_t ReadModifiedITC(BlockInput& input, Vorlanrecord&) {
    return blockFailed(input, "ReadModifiedITC", "Not written yet.");
}
}  // namespace vorlandi
