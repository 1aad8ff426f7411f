#pragma once

#include "basic/string.h"
#include "pool/parameter_pool_read_write_change.h"
#include "runtime/log.h"

namespace quellmark::app {

/// Appends the program's full version text to "software_names" of the log pool, one element for
/// each run; the key is created when missing and keeps its first index. A "software_names" that is
/// no "STR_V" throws WRONG_PARAMETER_TYPE. The log pool stays locked until it is closed, so that no
/// run of the same time loses its element.
void RecordSoftwareIdentification(const VERSION_RECORD& version,
                                  PARAMETER_POOL_READ_WRITE_CHANGE& log_pool);

}  // namespace quellmark::app
