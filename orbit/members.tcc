// The members of the orbit family; each source that includes this instantiates some of them.
#pragma once

#include <memory>
#include <utility>

#include "orbit/everett.h"
#include "orbit/fits.h"
#include "orbit/local_interpolation.h"
#include "orbit/mdb_orbit.h"
#include "orbit/polynom.h"
#include "orbit/pool_orbit.tcc"
#include "orbit/selection.h"
#include "orbit/spline.h"

namespace quellmark::orbit {

template <class I, class P>
struct Kind {
  using Interpolation = I;
  using Point = P;
};

template <class... Kinds>
struct KindList {};

template <class T, class I>
using LocalKind = Kind<LOCAL_INTERPOLATION<T, I, POINT<T>>, POINT<T>>;

/// By interpolation id.
template <class T>
using AllKinds =
    KindList<Kind<POLYNOM<T>, POINT<T>>, Kind<POLYNOM_FIT<T>, POINT<T>>, Kind<SPLINE<T>, POINT<T>>,
             LocalKind<T, POLYNOM<T>>, LocalKind<T, POLYNOM_FIT<T>>, Kind<CHEBY_POLY<T>, POINT<T>>,
             LocalKind<T, CHEBY_POLY<T>>, Kind<HERMITE_POLY<T>, DPOINT<T>>,
             Kind<LOCAL_INTERPOLATION<T, HERMITE_POLY<T>, DPOINT<T>>, DPOINT<T>>,
             Kind<EVERETT<T>, POINT<T>>>;

template <class Orbit>
std::unique_ptr<ORBIT_BASE> Create() {
  return std::make_unique<Orbit>();
}

template <class T, class S, class... Kinds>
constexpr MemberList PoolMakers(KindList<Kinds...>) {
  return {&Create<POOL_ORBIT<T, S, typename Kinds::Interpolation, typename Kinds::Point>>...};
}

template <class T, class S>
MemberList PoolMembers() {
  return PoolMakers<T, S>(AllKinds<T>());
}

// The Chebyshev and Hermite rows of the record database make the pool orbit of the same time type:
// deliberate, descriptions that name them count on it.
constexpr bool SharesPoolOrbit(std::size_t interpolation_id) {
  return interpolation_id >= 5 && interpolation_id <= 8;
}

template <class S, class Member, std::size_t kInterpolationId>
constexpr CreateOrbit MdbMaker() {
  using I = typename Member::Interpolation;
  using P = typename Member::Point;
  if constexpr (SharesPoolOrbit(kInterpolationId)) {
    return &Create<POOL_ORBIT<double, S, I, P>>;
  } else {
    return &Create<MDB_ORBIT<double, S, I, P>>;
  }
}

template <class S, class... Kinds, std::size_t... kIds>
constexpr MemberList MdbMakers(KindList<Kinds...>, std::index_sequence<kIds...>) {
  return {MdbMaker<S, Kinds, kIds>()...};
}

template <class S>
MemberList MdbMembers() {
  return MdbMakers<S>(AllKinds<double>(), std::make_index_sequence<kInterpolationKinds>());
}

}  // namespace quellmark::orbit
