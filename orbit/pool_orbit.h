// The orbit whose state vectors stand in a parameter pool.
#pragma once

#include "orbit/orbit.h"

template <class T, class S, class I, class P>
class POOL_ORBIT final : public ORBIT<T, S, I, P> {
 public:
  POOL_ORBIT() = default;
  POOL_ORBIT(const POOL_ORBIT&) = delete;
  POOL_ORBIT& operator=(const POOL_ORBIT&) = delete;  // use the operator of ORBIT_BASE
  ORBIT_BASE& operator=(const ORBIT_BASE& orbit) override;

  /// Sets the data file to "orbit_data_file" if the pool has that key.
  void ReadSource(PARAMETER_POOL& pool) override;
  /// Reads from the data file if there is one (relative to the current directory), else from
  /// `scene_pool`, under the keys that were set.
  void ReadSamples(PARAMETER_POOL& scene_pool) override;

  /// Reads epochs, positions and, for the kinds with derivatives, velocities, and builds the
  /// interpolators. Throws what the pool and the time scanners throw, INVALID_PARAMETER_VALUE after
  /// an ALARM line for vectors of different lengths, or the character string
  /// "POOL_ORBIT::ReadFromParameterPool::Number of coordinates in position and velocity disagree.".
  void ReadFromParameterPool(PARAMETER_POOL& pool, const quellmark::orbit::OrbitKeys& keys);
  /// Reads the same from the pool file at `path`, under the keys that were set. Kept for old
  /// callers.
  void ReadFromParameterPool(const STRING& path = {}) override;
};
