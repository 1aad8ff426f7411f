#include <array>
#include <cmath>
#include <cstdio>
#include <limits>
#include <utility>
#include <vector>

#include "api/call.h"
#include "api/orbit_impl.h"
#include "api/times.h"
#include "basic/errors.h"
#include "pool/parameter_pool.h"
#include "time/met_scanner.h"
#include "time/time_value.h"
#include "time/utc_scanner.h"
#include <quellmark/orbit.h>

namespace quellmark {
namespace {

using api::Call;
using api::Concern;

std::string InterpolationIn(PARAMETER_POOL& pool) {
  return std::string(pool.Read<pool::ValueType::kStr>("orbit_interpolation").View());
}

OrbitState NanState() {
  constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
  constexpr Vector3 kNans = {kNan, kNan, kNan};
  return {kNans, kNans, kNans};
}

}  // namespace

Orbit::Impl::Impl(api::CoreOrbit core_orbit, std::string interpolation_text)
    : orbit(std::move(core_orbit)),
      interpolation(std::move(interpolation_text)),
      reference_text(orbit.CoreObject()->TimeStamp().View()),
      reference(time::ScanTime(reference_text)) {
  const orbit::CoveredInterval covered = orbit.CoreObject()->CoveredAbscissae();
  coverage = {covered.first_s, covered.last_s};
}

std::shared_ptr<const Orbit::Impl> Orbit::Impl::Of(const api::CoreOrbit& orbit,
                                                   PARAMETER_POOL& pool) {
  return std::make_shared<const Impl>(orbit, InterpolationIn(pool));
}

Orbit Orbit::Open(const std::string& path) {
  return Call({.concern = Concern::kOrbit, .file = path}, [&] {
    PARAMETER_POOL pool;
    pool.OpenForReading(path);
    api::CoreOrbit orbit;
    orbit.ReadFromParameterPool(pool);
    return Orbit(std::make_shared<const Impl>(std::move(orbit), InterpolationIn(pool)));
  });
}

Orbit Orbit::FromStateVectors(std::span<const StateVector> states, std::string_view interpolation,
                              std::string_view reference_utc) {
  return Call({.concern = Concern::kOrbit}, [&] {
    orbit::StateVectors vectors;
    vectors.y.resize(3);
    vectors.dy.resize(3);
    for (const StateVector& state : states) {
      vectors.x.push_back(state.time_s);
      for (std::size_t i = 0; i < 3; ++i) {
        vectors.y[i].push_back(state.position_m[i]);
        vectors.dy[i].push_back(state.velocity_ms[i]);
      }
    }
    api::CoreOrbit orbit;
    orbit.ReadFromMemory(interpolation, STRING(reference_utc), std::move(vectors));
    return Orbit(std::make_shared<const Impl>(std::move(orbit), std::string(interpolation)));
  });
}

TimeInterval Orbit::Coverage() const noexcept { return impl_->coverage; }
const std::string& Orbit::Interpolation() const noexcept { return impl_->interpolation; }
TimeKind Orbit::Kind() const noexcept { return static_cast<TimeKind>(impl_->reference.index()); }
const std::string& Orbit::ReferenceTime() const noexcept { return impl_->reference_text; }

OrbitState Orbit::StateAt(double time_s, Outside outside) const {
  OrbitState state;
  StatesAt({&time_s, 1}, {&state, 1}, outside);
  return state;
}

void Orbit::StatesAt(std::span<const double> times_s, std::span<OrbitState> states,
                     Outside outside) const {
  Call({.concern = Concern::kOrbit}, [&] {
    api::CheckSizes(times_s.size(), states.size(), "times and states");
    const double origin_s = impl_->orbit.TimeOrigin();
    for (std::size_t i = 0; i < times_s.size(); ++i) {
      const double t = times_s[i];
      if (!std::isfinite(t)) api::FailArgument("a time of an orbit must be finite");
      if (outside != Outside::kExtrapolate && !impl_->coverage.Contains(t)) {
        if (outside == Outside::kThrow) {
          runtime::Fail<ERROR_DATA>("the orbit covers ", impl_->coverage.first_s, " s to ",
                                    impl_->coverage.last_s, " s after its reference time, not ", t,
                                    " s\n");
        }
        states[i] = NanState();
        continue;
      }
      VECTOR_3D<double> position;
      VECTOR_3D<double> velocity;
      VECTOR_3D<double> acceleration;
      impl_->orbit.GetState(origin_s, t, position, velocity, acceleration);
      states[i] = {api::ToArray(position), api::ToArray(velocity), api::ToArray(acceleration)};
    }
  });
}

double Orbit::TimeOf(std::string_view text) const {
  return Call({}, [&] {
    return std::visit(
        [&]<class Time>(const Time& reference) {
          const auto time = time::ConvertTime<Time>(time::ScanTime(text));
          return time::SecondsBetween(reference, time);
        },
        impl_->reference);
  });
}

double Orbit::TimeOfUnixNanoseconds(std::int64_t nanoseconds) const {
  return Call({}, [&] {
    const auto* reference = std::get_if<UNIVERSAL_TIME>(&impl_->reference);
    if (reference == nullptr) api::FailArgument("the epochs of this orbit are not in UTC");
    const api::UnixTime unix_time = api::SplitUnixNanoseconds(nanoseconds);
    const UNIVERSAL_TIME utc = api::UtcOfUnixMicroseconds(unix_time.microseconds);
    return (utc - *reference).Seconds() + static_cast<double>(unix_time.nanoseconds) * 1e-9;
  });
}

std::string Orbit::TextOf(double time_s) const {
  return Call({}, [&] {
    if (!std::isfinite(time_s)) api::FailArgument("a time that is not finite has no text");
    if (const auto* number = std::get_if<double>(&impl_->reference)) {
      std::array<char, 32> text;
      const int length = std::snprintf(text.data(), text.size(), "%.6f", *number + time_s);
      if (length >= static_cast<int>(text.size())) api::FailArgument("the time is too large");
      return std::string(text.data());
    }
    const DURATION duration = DURATION::FromSeconds(time_s);
    if (const auto* met = std::get_if<MISSION_ELAPSED_TIME>(&impl_->reference)) {
      return std::string((*met + duration).Text().View());
    }
    constexpr bool kZulu = true;
    const UNIVERSAL_TIME utc = std::get<UNIVERSAL_TIME>(impl_->reference) + duration;
    return std::string(utc.IsoText(6, kZulu).View());
  });
}

}  // namespace quellmark
