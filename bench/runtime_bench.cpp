// Measures a message that no threshold lets through, beside the one comparison that it needs, and a
// message that is written.
#include <benchmark/benchmark.h>

#include "runtime/log.h"

namespace {

using quellmark::runtime::Log;
using quellmark::runtime::LogLevel;
using quellmark::runtime::LogLine;
using quellmark::runtime::LogScope;

// Keeps the screen silent and sends the file to "/dev/null".
class BenchLog {
 public:
  BenchLog() {
    log_.SetProcessName("quellmark");
    log_.Open("/dev/null");
    log_.SetFileThreshold(LogLevel::kInfo);
  }

 private:
  LOG log_;
  LogScope scope_{log_};
};

void FloorComparison(benchmark::State& state) {
  volatile int threshold = 4;
  int level = 2;
  for (auto _ : state) {
    benchmark::DoNotOptimize(level);
    bool passes = level >= threshold;
    benchmark::DoNotOptimize(passes);
  }
}
BENCHMARK(FloorComparison);

void SuppressedLine(benchmark::State& state) {
  const BenchLog log;
  double value = 0.5;
  for (auto _ : state) {
    benchmark::DoNotOptimize(value);
    LogLine(LogLevel::kDebug, "value of ", "key", " is ", value, "\n");
  }
}
BENCHMARK(SuppressedLine);

void SuppressedStream(benchmark::State& state) {
  const BenchLog log;
  double value = 0.5;
  for (auto _ : state) {
    benchmark::DoNotOptimize(value);
    Log().Start(LogLevel::kDebug) << "value of "
                                  << "key"
                                  << " is " << value << "\n";
  }
}
BENCHMARK(SuppressedStream);

void SuppressedPrint(benchmark::State& state) {
  const BenchLog log;
  double value = 0.5;
  for (auto _ : state) {
    benchmark::DoNotOptimize(value);
    Log().Print(LogLevel::kDebug, "value of %s is %f", "key", value);
  }
}
BENCHMARK(SuppressedPrint);

void WrittenLine(benchmark::State& state) {
  const BenchLog log;
  double value = 0.5;
  for (auto _ : state) {
    benchmark::DoNotOptimize(value);
    LogLine(LogLevel::kInfo, "value of ", "key", " is ", value, "\n");
  }
}
BENCHMARK(WrittenLine);

}  // namespace
