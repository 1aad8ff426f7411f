#include "toolbox/check/check.h"

#include "toolbox/check/findings.h"
#include <quellmark/pool.h>

namespace quellmark::check {

std::vector<Finding> CheckPool(const std::string& path) {
  const Pool pool = Pool::Open(path);
  Findings findings;
  if (CheckBytes(pool, findings)) {
    CheckEntries(pool, findings);
    CheckOrbit(pool, findings);
    CheckScene(pool, findings);
  }
  return findings.TakeSorted();
}

}  // namespace quellmark::check
