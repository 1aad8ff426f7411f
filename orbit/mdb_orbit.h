// The orbit whose state vectors stand in a record database.
#pragma once

#include "orbit/orbit.h"
#include "runtime/log.h"

namespace quellmark::orbit {

/// Reads the keys that name a record database and an orbit in it. Then always throws ERROR_ARGUMENT
/// after the ALARM line for an orbit source that is not set, because this program cannot read such
/// records.
[[noreturn]] void ReadMdbSource(PARAMETER_POOL& pool);

}  // namespace quellmark::orbit

/// An orbit that cannot be read: ReadSource() always fails, see ReadMdbSource().
template <class T, class S, class I, class P>
class MDB_ORBIT final : public ORBIT<T, S, I, P> {
 public:
  MDB_ORBIT() = default;
  MDB_ORBIT(const MDB_ORBIT&) = delete;
  MDB_ORBIT& operator=(const MDB_ORBIT&) = delete;  // use the operator of ORBIT_BASE
  ORBIT_BASE& operator=(const ORBIT_BASE& orbit) override;

  void ReadSource(PARAMETER_POOL& pool) override { quellmark::orbit::ReadMdbSource(pool); }
};

template <class T, class S, class I, class P>
ORBIT_BASE& MDB_ORBIT<T, S, I, P>::operator=(const ORBIT_BASE& orbit) {
  quellmark::runtime::LogLine(
      LOG::Level::kDebug,
      "virtual MDB_ORBIT<T,S,I,P>& operator=( const ORBIT_BASE& amdb_orbit )\n");
  ORBIT<T, S, I, P>::operator=(orbit);
  return *this;
}
