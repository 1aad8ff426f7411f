#include "orbit/pool_samples.h"

#include <type_traits>
#include <utility>

#include "basic/errors.h"
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

// Reads the doubles under each key and checks that there are as many as epochs under `time_key`.
std::vector<std::vector<double>> ReadColumns(PARAMETER_POOL& pool, const ARRAY<STRING>& keys,
                                             std::string_view time_key, std::size_t epoch_count) {
  std::vector<std::vector<double>> columns;
  for (const STRING& key : keys.Elements()) {
    const ARRAY<double> values = pool.Read<ValueType::kFlt15V>(key.View());
    if (values.Elements().size() != epoch_count) {
      runtime::Fail<INVALID_PARAMETER_VALUE>("POOL_ORBIT: ", key, " has ", values.Length(),
                                             " values, but ", time_key, " has ", epoch_count, "\n");
    }
    columns.emplace_back(values.Elements().begin(), values.Elements().end());
  }
  return columns;
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

StateVectors ReadStateVectors(PARAMETER_POOL& pool, const OrbitKeys& keys,
                              std::vector<double> seconds, bool with_velocities) {
  if (with_velocities && keys.velocities.Length() != keys.values.Length()) {
    throw "POOL_ORBIT::ReadFromParameterPool::Number of coordinates in position and velocity "
          "disagree.";
  }
  StateVectors vectors{std::move(seconds), {}, {}};
  vectors.y = ReadColumns(pool, keys.values, keys.time.View(), vectors.x.size());
  if (with_velocities) {
    vectors.dy = ReadColumns(pool, keys.velocities, keys.time.View(), vectors.x.size());
  }
  return vectors;
}

}  // namespace quellmark::orbit
