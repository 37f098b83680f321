// `vorlandi plot`: pictures of ephemerides over time, and a page with their orbits.
#pragma once

#include "Options.hpp"

namespace vorlandi::cli {

void addPlotCommand(CLI::App& application, Session& session);

}  // namespace vorlandi::cli
