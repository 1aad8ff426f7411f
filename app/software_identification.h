#pragma once

#include "basic/string.h"
#include "pool/parameter_pool_read_write_change.h"
#include "runtime/log.h"

namespace quellmark::app {

/// Appends the program's full version text to "software_names" of the log pool, one element for
/// each run. A missing key is created; an existing one keeps its first index. Throws
/// WRONG_PARAMETER_TYPE if "software_names" is not a "STR_V". The log pool stays locked until it is
/// closed, so that a parallel run cannot lose its element.
void RecordSoftwareIdentification(const VERSION_RECORD& version,
                                  PARAMETER_POOL_READ_WRITE_CHANGE& log_pool);

}  // namespace quellmark::app
