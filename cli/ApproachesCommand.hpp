// `vorlandi approaches`: where satellites come close to each other.
#pragma once

#include "Options.hpp"

namespace vorlandi::cli {

void addApproachesCommand(CLI::App& application, Session& session);

}  // namespace vorlandi::cli
