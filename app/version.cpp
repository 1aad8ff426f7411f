#include "app/version.h"

namespace quellmark::app {

VERSION_RECORD ProgramVersion() {
  // The chain's archive identifies the step by these texts: kept exactly, including the compiler
  // that they name.
  return {.full_version = "quellmark.v0.0.5.linux.gcc4.5.0_64bit.default.20161209173218",
          .revision_date = "$Date: 2016/12/09 17:32:18 $",
          .version = "0.0.5",
          .title = "locates a SAR scene on the Earth"};
}

}  // namespace quellmark::app
