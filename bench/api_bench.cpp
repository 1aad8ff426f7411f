// Measures the library: a pool read in one pass and values by key, beside a floor that only looks
// for line ends; single positions of a scene through the library and directly from the core.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include <quellmark/pool.h>
#include <quellmark/scene.h>

namespace {

using quellmark::Pool;

// A pool of `count` doubles, as the batch step writes them.
std::string PoolText(std::int64_t count) {
  std::string text;
  for (std::int64_t i = 0; i < count; ++i) {
    char line[96];
    std::snprintf(line, sizeof line, "%-32s %-16s%.17E\n\n", ("key_" + std::to_string(i)).c_str(),
                  "FLT_15", 1.0 / static_cast<double>(i + 3));
    text += line;
  }
  return text;
}

void FloorLineEnds(benchmark::State& state) {
  const std::string text = PoolText(state.range(0));
  for (auto _ : state) {
    const std::string copy = text;
    std::size_t lines = 0;
    const char* const end = copy.data() + copy.size();
    for (const char* at = copy.data(); at != end; ++lines) {
      at = static_cast<const char*>(std::memchr(at, '\n', static_cast<std::size_t>(end - at))) + 1;
    }
    benchmark::DoNotOptimize(lines);
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(FloorLineEnds)->Arg(100'000)->Unit(benchmark::kMillisecond);

void OpenPool(benchmark::State& state) {
  const std::string text = PoolText(state.range(0));
  for (auto _ : state) benchmark::DoNotOptimize(Pool::FromText(text).Entries().size());
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(OpenPool)->Arg(1'000)->Arg(100'000)->Unit(benchmark::kMillisecond);

void FindKeys(benchmark::State& state) {
  const Pool pool = Pool::FromText(PoolText(state.range(0)));
  std::vector<std::string> keys;
  for (const quellmark::Entry& entry : pool.Entries()) keys.emplace_back(entry.key);
  for (auto _ : state) {
    for (const std::string& key : keys) benchmark::DoNotOptimize(pool.Find(key));
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(FindKeys)->Arg(100'000)->Unit(benchmark::kMillisecond);

void GetDoubles(benchmark::State& state) {
  const Pool pool = Pool::FromText(PoolText(state.range(0)));
  for (auto _ : state) {
    for (const quellmark::Entry& entry : pool.Entries()) {
      benchmark::DoNotOptimize(pool.Get<double>(entry.key));
    }
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(GetDoubles)->Arg(100'000)->Unit(benchmark::kMillisecond);

void LocateOne(benchmark::State& state) {
  const auto scene = quellmark::Scene::Open(QM_SCENES "/s1b_iw_grd_alps.pool");
  double sample = 0.0;
  for (auto _ : state) benchmark::DoNotOptimize(scene.Locate(sample += 1.0, 1000.0));
}
BENCHMARK(LocateOne);

// Locates the same points as bench/python_rows.py, which prints both times. As there, every call
// allocates the memory for its results.
void ManyPoints(benchmark::State& state) {
  const auto scene = quellmark::Scene::Open(QM_SCENES "/s1a_iw1_slc_quebec.pool");
  const auto n = static_cast<std::size_t>(state.range(0));
  std::vector<double> sample(n), line(n);
  for (std::size_t i = 0; i < n; ++i) {
    sample[i] = static_cast<double>(i % 20'000);
    line[i] = static_cast<double>(i) / 1000.0;
  }
  for (auto _ : state) {
    std::vector<double> longitude(n), latitude(n), height(n), incidence(n);
    std::vector<quellmark::PointStatus> status(n);
    scene.ImageToGround(sample, line,
                        {.longitude_deg = longitude,
                         .latitude_deg = latitude,
                         .height_m = height,
                         .incidence_deg = incidence,
                         .status = status});
    benchmark::DoNotOptimize(longitude.data());
  }
}
BENCHMARK(ManyPoints)->Arg(10'000'000)->Unit(benchmark::kMillisecond)->Iterations(1);

}  // namespace
