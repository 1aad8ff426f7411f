// Bodies of pool_orbit.h; included by the sources that list the members.
#pragma once

#include <type_traits>
#include <utility>
#include <vector>

#include "orbit/orbit.tcc"
#include "orbit/pool_orbit.h"
#include "orbit/pool_samples.h"
#include "pool/parameter_pool.h"

template <class T, class S, class I, class P>
ORBIT_BASE& POOL_ORBIT<T, S, I, P>::operator=(const ORBIT_BASE& orbit) {
  quellmark::runtime::LogLine(
      LOG::Level::kDebug,
      "virtual POOL_ORBIT<T,S,I,P>& operator=( const ORBIT_BASE& apool_orbit )\n");
  ORBIT<T, S, I, P>::operator=(orbit);
  return *this;
}

template <class T, class S, class I, class P>
void POOL_ORBIT<T, S, I, P>::ReadSource(PARAMETER_POOL& pool) {
  using quellmark::pool::ValueType;
  if (pool.Has("orbit_data_file")) {
    this->SetDataFile(pool.Read<ValueType::kStr>("orbit_data_file"));
  }
}

template <class T, class S, class I, class P>
void POOL_ORBIT<T, S, I, P>::ReadSamples(PARAMETER_POOL& scene_pool) {
  if (this->data_file_.IsEmpty()) {
    ReadFromParameterPool(scene_pool, this->keys_);
    return;
  }
  PARAMETER_POOL data_pool;
  static_cast<void>(data_pool.Open(this->data_file_.Text()));
  ReadFromParameterPool(data_pool, this->keys_);
}

template <class T, class S, class I, class P>
void POOL_ORBIT<T, S, I, P>::ReadFromParameterPool(const STRING& path) {
  quellmark::runtime::LogLine(LOG::Level::kDebug,
                              "Deprecated function! Please use read() instead!\n");
  PARAMETER_POOL pool;
  static_cast<void>(pool.Open(std::string(path.View())));
  ReadFromParameterPool(pool, this->keys_);
}

template <class T, class S, class I, class P>
void POOL_ORBIT<T, S, I, P>::ReadFromParameterPool(PARAMETER_POOL& pool,
                                                   const quellmark::orbit::OrbitKeys& keys) {
  using quellmark::orbit::ReadCoordinate;
  constexpr bool kHasDerivative = std::is_same_v<P, DPOINT<T>>;
  const std::vector<double> seconds =
      quellmark::orbit::ReadEpochs<S>(pool, keys.time.View(), this->reference_time_);
  if (kHasDerivative && keys.velocities.Length() != keys.values.Length()) {
    throw "POOL_ORBIT::ReadFromParameterPool::Number of coordinates in position and velocity "
          "disagree.";
  }
  const int count = static_cast<int>(seconds.size());
  ARRAY<ARRAY<P>> samples(RANGE<int>(0, keys.values.Length()));
  for (int i = 0; i < keys.values.Length(); ++i) {
    const auto key = [i](const ARRAY<STRING>& list) { return list[list.First() + i].View(); };
    const ARRAY<double> values = ReadCoordinate(pool, key(keys.values), keys.time.View(), count);
    ARRAY<double> velocities;
    if constexpr (kHasDerivative) {
      velocities = ReadCoordinate(pool, key(keys.velocities), keys.time.View(), count);
    }
    samples[i] = ARRAY<P>(RANGE<int>(0, count));
    for (int j = 0; j < count; ++j) {
      const T x = static_cast<T>(seconds[static_cast<std::size_t>(j)]);
      const T y = static_cast<T>(values[values.First() + j]);
      if constexpr (kHasDerivative) {
        samples[i][j] = P(x, y, static_cast<T>(velocities[velocities.First() + j]));
      } else {
        samples[i][j] = P(x, y);
      }
    }
  }
  this->CreateInterpolators(std::move(samples));
}
