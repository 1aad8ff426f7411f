#pragma once

#include "runtime/log.h"

namespace quellmark::app {

/// Identifies this program. The start banner prints it, and "software_names" of the log pool keeps
/// the full version text.
[[nodiscard]] VERSION_RECORD ProgramVersion();

}  // namespace quellmark::app
