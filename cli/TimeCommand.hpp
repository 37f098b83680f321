// vorlandi time: a time in every form.
#pragma once

#include "Options.hpp"

namespace vorlandi::cli {

void addTimeCommand(CLI::App& application, Session& session);

}  // namespace vorlandi::cli
