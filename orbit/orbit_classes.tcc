// The classes of the orbit family. Each source that includes this file instantiates those of one
// time type.
#pragma once

#include <memory>

#include "orbit/interpolation/everett.h"
#include "orbit/interpolation/fits.h"
#include "orbit/interpolation/local_interpolation.h"
#include "orbit/interpolation/polynom.h"
#include "orbit/interpolation/spline.h"
#include "orbit/mdb_orbit.h"
#include "orbit/pool_orbit.tcc"
#include "orbit/selection.h"

namespace quellmark::orbit {

template <class Orbit>
std::unique_ptr<ORBIT_BASE> Create() {
  return std::make_unique<Orbit>();
}

template <class T, class I>
using Local = LOCAL_INTERPOLATION<T, I, POINT<T>>;
template <class T>
using LocalHermite = LOCAL_INTERPOLATION<T, HERMITE_POLY<T>, DPOINT<T>>;

template <class T, class S>
OrbitClasses PoolOrbitClasses() {
  return {Create<POOL_ORBIT<T, S, POLYNOM<T>, POINT<T>>>,
          Create<POOL_ORBIT<T, S, POLYNOM_FIT<T>, POINT<T>>>,
          Create<POOL_ORBIT<T, S, SPLINE<T>, POINT<T>>>,
          Create<POOL_ORBIT<T, S, Local<T, POLYNOM<T>>, POINT<T>>>,
          Create<POOL_ORBIT<T, S, Local<T, POLYNOM_FIT<T>>, POINT<T>>>,
          Create<POOL_ORBIT<T, S, CHEBY_POLY<T>, POINT<T>>>,
          Create<POOL_ORBIT<T, S, Local<T, CHEBY_POLY<T>>, POINT<T>>>,
          Create<POOL_ORBIT<T, S, HERMITE_POLY<T>, DPOINT<T>>>,
          Create<POOL_ORBIT<T, S, LocalHermite<T>, DPOINT<T>>>,
          Create<POOL_ORBIT<T, S, EVERETT<T>, POINT<T>>>};
}

// With Chebyshev or Hermite interpolation, a record-database kind makes the pool orbit of the same
// time type. This is deliberate: existing descriptions that name them rely on it.
template <class S>
OrbitClasses MdbOrbitClasses() {
  using T = double;
  return {Create<MDB_ORBIT<T, S, POLYNOM<T>, POINT<T>>>,
          Create<MDB_ORBIT<T, S, POLYNOM_FIT<T>, POINT<T>>>,
          Create<MDB_ORBIT<T, S, SPLINE<T>, POINT<T>>>,
          Create<MDB_ORBIT<T, S, Local<T, POLYNOM<T>>, POINT<T>>>,
          Create<MDB_ORBIT<T, S, Local<T, POLYNOM_FIT<T>>, POINT<T>>>,
          Create<POOL_ORBIT<T, S, CHEBY_POLY<T>, POINT<T>>>,
          Create<POOL_ORBIT<T, S, Local<T, CHEBY_POLY<T>>, POINT<T>>>,
          Create<POOL_ORBIT<T, S, HERMITE_POLY<T>, DPOINT<T>>>,
          Create<POOL_ORBIT<T, S, LocalHermite<T>, DPOINT<T>>>,
          Create<MDB_ORBIT<T, S, EVERETT<T>, POINT<T>>>};
}

}  // namespace quellmark::orbit
