#pragma once

#include "Options.hpp"

namespace vorlandi::cli {

void addDeliveryCommand(CLI::App& application, Session& session);

}  // namespace vorlandi::cli
