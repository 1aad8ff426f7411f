#include "app/software_identification.h"

#include "basic/array.h"
#include "basic/errors.h"
#include "pool/value_type.h"

namespace quellmark::app {

void RecordSoftwareIdentification(const VERSION_RECORD& version,
                                  PARAMETER_POOL_READ_WRITE_CHANGE& log_pool) {
  using pool::ValueType;
  constexpr const char* kKey = "software_names";
  constexpr int kFirstIndex = 1;  // of a key that is created here

  // The lock comes before the reading. Otherwise the element of a run that ends between reading and
  // writing would be lost.
  log_pool.LockForUpdate();
  ARRAY<STRING> names;
  if (log_pool.Has(kKey)) {
    const pool::DoubleKeyCheck check(log_pool);
    names = log_pool.Read<ValueType::kStrV>(kKey);
  } else {
    static_cast<void>(names.Resize(RANGE<int>(kFirstIndex, 0)));
  }
  if (names.Resize(RANGE<int>(names.First(), names.Length() + 1)) != kArrayOk) {
    throw ERROR_NO_MEMORY();
  }
  names.Elements().back() = STRING(version.full_version);
  log_pool.Set<ValueType::kStrV>(kKey, names);
}

}  // namespace quellmark::app
