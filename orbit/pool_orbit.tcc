// Bodies of pool_orbit.h; included by the sources that instantiate the orbit classes.
#pragma once

#include <string>
#include <type_traits>

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
  if (!this->data_file_) {
    ReadFromParameterPool(scene_pool, this->keys_);
    return;
  }
  PARAMETER_POOL data_pool;
  static_cast<void>(data_pool.Open(std::string(this->data_file_->View())));
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
  this->SetStateVectors(
      quellmark::orbit::ReadStateVectors(
          pool, keys,
          quellmark::orbit::ReadEpochs<S>(pool, keys.time.View(), this->reference_time_),
          std::is_same_v<P, DPOINT<T>>),
      true);
}
