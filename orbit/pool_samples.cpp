#include "orbit/pool_samples.h"

#include <type_traits>

#include "basic/errors.h"
#include "basic/point.h"
#include "pool/parameter_pool.h"
#include "runtime/log.h"
#include "time/met_scanner.h"
#include "time/time_value.h"
#include "time/utc_scanner.h"

namespace quellmark::orbit {

using pool::ValueType;

namespace {

template <class S>
S ScanEpoch(std::string_view text) {
  if constexpr (std::is_same_v<S, UNIVERSAL_TIME>) {
    return time::ScanUtc(text);
  } else if constexpr (std::is_same_v<S, MISSION_ELAPSED_TIME>) {
    return time::ScanMet(text);
  } else {
    return time::ConvertTime<S>(time::ScanTime(text));
  }
}

// The doubles under `key`, as many as there are epochs under `time_key`.
ARRAY<double> ReadCoordinate(PARAMETER_POOL& pool, std::string_view key, std::string_view time_key,
                             int epoch_count) {
  ARRAY<double> values = pool.Read<ValueType::kFlt15V>(key);
  if (values.Length() != epoch_count) {
    runtime::Fail<INVALID_PARAMETER_VALUE>("POOL_ORBIT: ", key, " has ", values.Length(),
                                           " values, but ", time_key, " has ", epoch_count, "\n");
  }
  return values;
}

}  // namespace

template <class S>
std::vector<double> ReadEpochs(PARAMETER_POOL& pool, std::string_view key,
                               const S& reference_time) {
  std::vector<double> seconds;
  const auto append = [&](const S& epoch) {
    seconds.push_back(time::SecondsBetween(reference_time, epoch));
  };
  if constexpr (std::is_same_v<S, double>) {
    if (pool.TypeOf(key) == ValueType::kFlt15V) {
      const ARRAY<double> times = pool.Read<ValueType::kFlt15V>(key);
      seconds.reserve(times.Elements().size());
      for (const double epoch : times.Elements()) append(epoch);
      return seconds;
    }
  }
  const ARRAY<STRING> texts = pool.Read<ValueType::kStrV>(key);
  seconds.reserve(texts.Elements().size());
  for (const STRING& text : texts.Elements()) append(ScanEpoch<S>(text.View()));
  return seconds;
}

template std::vector<double> ReadEpochs(PARAMETER_POOL&, std::string_view, const double&);
template std::vector<double> ReadEpochs(PARAMETER_POOL&, std::string_view, const UNIVERSAL_TIME&);
template std::vector<double> ReadEpochs(PARAMETER_POOL&, std::string_view,
                                        const MISSION_ELAPSED_TIME&);

template <class T, class P>
ARRAY<ARRAY<P>> ReadSupportPoints(PARAMETER_POOL& pool, const OrbitKeys& keys,
                                  const std::vector<double>& seconds) {
  constexpr bool kHasDerivative = std::is_same_v<P, DPOINT<T>>;
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
  return samples;
}

#define QM_READ_SUPPORT_POINTS(T, P)                                                        \
  template ARRAY<ARRAY<P<T>>> ReadSupportPoints<T, P<T>>(PARAMETER_POOL&, const OrbitKeys&, \
                                                         const std::vector<double>&)
QM_READ_SUPPORT_POINTS(float, POINT);
QM_READ_SUPPORT_POINTS(float, DPOINT);
QM_READ_SUPPORT_POINTS(double, POINT);
QM_READ_SUPPORT_POINTS(double, DPOINT);
#undef QM_READ_SUPPORT_POINTS

}  // namespace quellmark::orbit
