// The command `vorlandi convert`.
#pragma once

#include "Options.hpp"

namespace vorlandi::cli {

void addConvertCommand(CLI::App& application, Session& session);

}  // namespace vorlandi::cli
