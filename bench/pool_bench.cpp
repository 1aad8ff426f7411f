// Measures look-ups, vectors and updates of pools, each beside the least work that the same bytes
// need.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "pool/entry_scanner.h"
#include "pool/parameter_pool_read_write_change.h"
#include "runtime/log.h"

namespace {

using quellmark::pool::ValueType;

// A pool file that the destructor removes. Its text stays in memory for the floors.
class BenchPool {
 public:
  explicit BenchPool(const auto& fill)
      : path_(std::filesystem::temp_directory_path() /
              ("pool_bench_" + std::to_string(::getpid()))) {
    quellmark::runtime::Log().SetScreenThreshold(LOG::Level::kSilent);
    {
      PARAMETER_POOL_READ_WRITE_CHANGE pool(path_);
      fill(pool);
    }
    std::ostringstream text;
    text << std::ifstream(path_, std::ios::binary).rdbuf();
    text_ = text.str();
  }
  BenchPool(const BenchPool&) = delete;
  BenchPool& operator=(const BenchPool&) = delete;
  ~BenchPool() { std::filesystem::remove(path_); }

  [[nodiscard]] const std::string& Path() const { return path_; }
  [[nodiscard]] const std::string& Text() const { return text_; }

 private:
  std::string path_;
  std::string text_;
};

auto FillWithKeys(std::int64_t count) {
  return [count](PARAMETER_POOL_READ_WRITE_CHANGE& pool) {
    std::ofstream file(pool.Path(), std::ios::binary);
    for (std::int64_t i = 0; i < count; ++i) {
      file << "key_" << i << std::string(28 - std::to_string(i).size(), ' ')
           << " FLT_15          1.00000000000000000E+00\n\n";
    }
  };
}

std::int64_t ScanLines(const std::string& text) {
  std::int64_t lines = 0;
  const char* const end = text.data() + text.size();
  for (const char* at = text.data(); at != end; ++lines) {
    at = static_cast<const char*>(std::memchr(at, '\n', static_cast<std::size_t>(end - at))) + 1;
  }
  return lines;
}

void ReportPerLine(benchmark::State& state, std::int64_t lines) {
  state.counters["per_line"] =
      benchmark::Counter(static_cast<double>(lines), benchmark::Counter::kIsIterationInvariantRate |
                                                         benchmark::Counter::kInvert);
}

void LookUpLastKeyFloor(benchmark::State& state) {
  const BenchPool pool(FillWithKeys(state.range(0)));
  for (auto _ : state) benchmark::DoNotOptimize(ScanLines(pool.Text()));
  ReportPerLine(state, ScanLines(pool.Text()));
}
BENCHMARK(LookUpLastKeyFloor)->Arg(100)->Arg(100'000);

void LookUpLastKey(benchmark::State& state) {
  const BenchPool file(FillWithKeys(state.range(0)));
  PARAMETER_POOL pool;
  pool.Open(file.Path());
  const std::string key = "key_" + std::to_string(state.range(0) - 1);
  for (auto _ : state) benchmark::DoNotOptimize(pool.Has(key));
  ReportPerLine(state, ScanLines(file.Text()));
}
BENCHMARK(LookUpLastKey)->Arg(100)->Arg(100'000);

void FillWithVector(PARAMETER_POOL_READ_WRITE_CHANGE& pool) {
  constexpr int kLength = 1'000'000;
  ARRAY<double> values(RANGE<int>(1, kLength));
  for (int i = 1; i <= kLength; ++i) values[i] = 7.0e6 * std::sin(1.0e-3 * i);
  pool.Add<ValueType::kFlt15V>("values", std::move(values));
}

void ReadVectorFloor(benchmark::State& state) {
  const BenchPool file(FillWithVector);
  const char* const body = std::strchr(file.Text().c_str(), '{') + 1;
  for (auto _ : state) {
    double sum = 0.0;
    const char* at = body;
    for (char* end = nullptr;; at = end) {
      const double value = std::strtod(at, &end);
      if (end == at) break;
      sum += value;
    }
    benchmark::DoNotOptimize(sum);
  }
}
BENCHMARK(ReadVectorFloor)->Unit(benchmark::kMillisecond);

void ReadVector(benchmark::State& state) {
  const BenchPool file(FillWithVector);
  PARAMETER_POOL pool;
  pool.Open(file.Path());
  for (auto _ : state) benchmark::DoNotOptimize(pool.Read<ValueType::kFlt15V>("values"));
}
BENCHMARK(ReadVector)->Unit(benchmark::kMillisecond);

// An update that replaces an existing vector, with its flushes to the disk.
void UpdateVector(benchmark::State& state) {
  const BenchPool file(FillWithVector);
  PARAMETER_POOL_READ_WRITE_CHANGE pool(file.Path());
  const ARRAY<double> values = pool.Read<ValueType::kFlt15V>("values");
  for (auto _ : state) {
    pool.Set<ValueType::kFlt15V>("values", values);
    pool.Update();
  }
}
BENCHMARK(UpdateVector)->Unit(benchmark::kMillisecond);

// Adds as many new entries as a program that copies a whole scene.
void AddEntries(benchmark::State& state) {
  std::vector<std::string> keys;
  for (std::int64_t i = 0; i < state.range(0); ++i) keys.push_back("key_" + std::to_string(i));
  for (auto _ : state) {
    const BenchPool file([&](PARAMETER_POOL_READ_WRITE_CHANGE& pool) {
      for (const std::string& key : keys) pool.Set<ValueType::kFlt15>(key, 1.0);
    });
  }
  state.counters["per_entry"] = benchmark::Counter(
      static_cast<double>(state.range(0)),
      benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}
BENCHMARK(AddEntries)->Arg(3'000)->Arg(30'000)->Unit(benchmark::kMillisecond);

// Visits all entries in one pass over the text in memory. The floor is LookUpLastKeyFloor.
void ScanEntries(benchmark::State& state) {
  const BenchPool file(FillWithKeys(state.range(0)));
  for (auto _ : state) {
    quellmark::pool::EntryScanner scanner(file.Text());
    for (quellmark::pool::PoolEntry entry; scanner.Next(entry);) benchmark::DoNotOptimize(entry);
  }
  ReportPerLine(state, state.range(0));
}
BENCHMARK(ScanEntries)->Arg(100)->Arg(100'000);

void UpdateScalar(benchmark::State& state) {
  const BenchPool file(FillWithKeys(100));
  PARAMETER_POOL_READ_WRITE_CHANGE pool(file.Path());
  for (auto _ : state) {
    pool.Set<ValueType::kFlt15>("key_50", 2.0);
    pool.Update();
  }
}
BENCHMARK(UpdateScalar)->Unit(benchmark::kMicrosecond);

std::string NewKey(std::int64_t i) { return "new_key_" + std::to_string(i); }

// Sets new entries one by one and writes them at the close.
void SetEntries(benchmark::State& state) {
  for (auto _ : state) {
    const BenchPool file([&](PARAMETER_POOL_READ_WRITE_CHANGE& pool) {
      for (std::int64_t i = 0; i < state.range(0); ++i) {
        pool.Set<ValueType::kFlt15>(NewKey(i), static_cast<double>(i));
      }
    });
    benchmark::DoNotOptimize(file.Text().size());
  }
}
BENCHMARK(SetEntries)->Arg(3'000)->Arg(30'000)->Unit(benchmark::kMillisecond);

// Formats the same text into one string, writes it and reads it back.
void SetEntriesFloor(benchmark::State& state) {
  for (auto _ : state) {
    const BenchPool file([&](PARAMETER_POOL_READ_WRITE_CHANGE& pool) {
      std::string text;
      std::array<char, 128> entry;
      for (std::int64_t i = 0; i < state.range(0); ++i) {
        const int length = std::snprintf(entry.data(), entry.size(), "%-32s %-15s %.17E\n\n",
                                         NewKey(i).c_str(), "FLT_15", static_cast<double>(i));
        text.append(entry.data(), static_cast<std::size_t>(length));
      }
      std::ofstream(pool.Path(), std::ios::binary) << text;
    });
    benchmark::DoNotOptimize(file.Text().size());
  }
}
BENCHMARK(SetEntriesFloor)->Arg(3'000)->Arg(30'000)->Unit(benchmark::kMillisecond);

}  // namespace
