// The parts of nvtool cddb.
#pragma once

#include "CommandLineFwd.h"

namespace nvtool {

// Adds those that need no server: local, unpack, download.
void AddCddbLocal(CLI::App& cddb);

} // namespace nvtool
