// Measures one image position from the scene to its results, and the reading of a scene from its
// pool.
#include <benchmark/benchmark.h>

#include "app/sar_scene.h"
#include "pool/parameter_pool.h"
#include "runtime/log.h"

namespace {

void SilenceLog() {
  quellmark::runtime::Log().SetScreenThreshold(LOG::Level::kSilent);
  quellmark::runtime::Log().SetFileThreshold(LOG::Level::kSilent);
}

void ReadScene(SAR_SCENE& scene) {
  PARAMETER_POOL pool;
  static_cast<void>(pool.Open(QM_SCENES "/s1a_iw1_slc_quebec.pool"));
  scene.ReadFromParameterPool(pool);
}

// Measures two orbit states, two geolocations and the results that are derived from them.
void BM_LocatePoint(benchmark::State& state) {
  SilenceLog();
  SAR_SCENE scene;
  ReadScene(scene);
  float longitude = 0.0F;
  float latitude = 0.0F;
  float incidence = 0.0F;
  double velocity = 0.0;
  double b_param = 0.0;
  double fm_rate = 0.0;
  int line = 0;
  for (auto _ : state) {
    line = (line + 1) % scene.GetNumberOfLines();
    scene.LocatePoint(line, line, longitude, latitude, incidence, velocity, b_param, fm_rate);
    benchmark::DoNotOptimize(fm_rate);
  }
}
BENCHMARK(BM_LocatePoint);

void BM_ReadScene(benchmark::State& state) {
  SilenceLog();
  for (auto _ : state) {
    SAR_SCENE scene;
    ReadScene(scene);
    benchmark::DoNotOptimize(scene);
  }
}
BENCHMARK(BM_ReadScene)->Unit(benchmark::kMicrosecond);

}  // namespace
