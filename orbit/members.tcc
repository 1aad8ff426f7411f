// The members of the orbit family; each source that includes this instantiates some of them.
#pragma once

#include <memory>
#include <type_traits>
#include <utility>

#include "orbit/local_interpolation.h"
#include "orbit/mdb_orbit.h"
#include "orbit/polynom.h"
#include "orbit/pool_orbit.tcc"
#include "orbit/selection.h"

namespace quellmark::orbit {

template <class I, class P>
struct Kind {
  using Interpolation = I;
  using Point = P;
};

template <class... Kinds>
struct KindList {};

/// By interpolation id.
template <class T>
using AllKinds = KindList<Kind<POLYNOM<T>, POINT<T>>,                                           //
                          void,                                                                 //
                          void,                                                                 //
                          Kind<LOCAL_INTERPOLATION<T, POLYNOM<T>, POINT<T>>, POINT<T>>,         //
                          void,                                                                 //
                          void,                                                                 //
                          void,                                                                 //
                          Kind<HERMITE_POLY<T>, DPOINT<T>>,                                     //
                          Kind<LOCAL_INTERPOLATION<T, HERMITE_POLY<T>, DPOINT<T>>, DPOINT<T>>,  //
                          void>;

template <class Orbit>
std::unique_ptr<ORBIT_BASE> Create() {
  return std::make_unique<Orbit>();
}

template <class T, class S, class Member>
constexpr CreateOrbit PoolMaker() {
  if constexpr (std::is_void_v<Member>) {
    return nullptr;
  } else {
    return &Create<POOL_ORBIT<T, S, typename Member::Interpolation, typename Member::Point>>;
  }
}

template <class T, class S, class... Kinds>
constexpr MemberList PoolMakers(KindList<Kinds...>) {
  return {PoolMaker<T, S, Kinds>()...};
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
  if constexpr (SharesPoolOrbit(kInterpolationId) || std::is_void_v<Member>) {
    return PoolMaker<double, S, Member>();
  } else {
    return &Create<MDB_ORBIT<double, S, typename Member::Interpolation, typename Member::Point>>;
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
