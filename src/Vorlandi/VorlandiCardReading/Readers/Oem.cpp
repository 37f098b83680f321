#include "Vorlandi/VorlandiCardReading/Readers/Readers.hpp"

namespace vorlandi {
std::int32_t ReadOEM(BlockInput& input, Vorlanrecord&) { return blockFailed(input, "ReadOEM", "Not written yet."); }
std::int32_t ReadSTK(BlockInput& input, Vorlanrecord& record) { return ReadDotE(input, record); }
}  // namespace vorlandi
