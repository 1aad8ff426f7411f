// Bodies of orbit.h; included by the sources that instantiate the orbit classes.
#pragma once

#include <type_traits>
#include <variant>

#include "basic/errors.h"
#include "orbit/orbit.h"
#include "orbit/sampled_orbit.tcc"
#include "runtime/log.h"
#include "time/time_value.h"

template <class T, class S, class I, class P>
ORBIT_BASE& ORBIT<T, S, I, P>::operator=(const ORBIT_BASE& orbit) {
  using quellmark::runtime::Fail;
  quellmark::runtime::LogLine(
      LOG::Level::kDebug,
      "virtual ORBIT_BASE& ORBIT<T,S,I,P>::operator=( const ORBIT_BASE& aorbit )\n");
  const auto* const other = dynamic_cast<const ORBIT*>(&orbit);
  if (other == nullptr) Fail<ERROR_ARGUMENT>("ORBIT: can not assign an orbit of another class\n");
  ORBIT_BASE::operator=(orbit);
  reference_time_ = other->reference_time_;
  this->TakeSamples(*other);
  return *this;
}

template <class T, class S, class I, class P>
void ORBIT<T, S, I, P>::SetReferenceTime(const STRING& text) {
  const quellmark::time::TimeValue time = quellmark::time::ScanTime(text.View());
  if (!std::holds_alternative<S>(time)) {
    quellmark::runtime::LogLine(LOG::Level::kAlarm,
                                "ORBIT: reference time is of another kind than the epochs: ", text,
                                "\n");
  }
  reference_time_ = quellmark::time::ConvertTime<S>(time);
  this->time_stamp_ = text;
  if constexpr (std::is_same_v<S, double>) this->time_origin_s_ = reference_time_;
}
