#pragma once

#include "runtime/log.h"

namespace quellmark::app {

/// Who this program is: the start banner prints it, the log pool's "software_names" keeps the full
/// version text.
[[nodiscard]] VERSION_RECORD ProgramVersion();

}  // namespace quellmark::app
