// Measures the reading of an orbit's epochs beside a floor, which converts the fixed columns of one
// form by hand, without checks and without leap seconds. Quote the ratio within one run.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "time/utc_scanner.h"

namespace {

constexpr UNIVERSAL_TIME kReference = {2022, 4, 14, 10, 21, 0, 0, 0};

// State vectors 10 s apart with a jitter of microseconds, as real orbit files have them.
std::vector<std::string> Epochs(int count) {
  std::vector<std::string> texts;
  for (int i = 0; i < count; ++i) {
    const UNIVERSAL_TIME epoch = kReference + DURATION::FromSeconds(10.0 * i + 1e-6 * (i % 3));
    texts.emplace_back(epoch.IsoText(6, true).View());
  }
  return texts;
}

int Number(const char* digits, int count) {
  int value = 0;
  for (int i = 0; i < count; ++i) value = 10 * value + (digits[i] - '0');
  return value;
}

// "yyyy-mm-ddThh:mm:ss.ffffff"
long long FloorMicroseconds(const char* text) {
  const int month = Number(text + 5, 2);
  const int year = Number(text, 4) - (month <= 2 ? 1 : 0);
  const long long day = 365LL * year + year / 4 - year / 100 + year / 400 +
                        (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + Number(text + 8, 2);
  const long long second =
      day * 86400 + Number(text + 11, 2) * 3600 + Number(text + 14, 2) * 60 + Number(text + 17, 2);
  return second * 1'000'000 + Number(text + 20, 6);
}

void SetPerText(benchmark::State& state) {
  state.counters["per_text"] = benchmark::Counter(
      static_cast<double>(state.range(0)),
      benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void FloorOfEpochs(benchmark::State& state) {
  const auto texts = Epochs(static_cast<int>(state.range(0)));
  const std::string reference(kReference.IsoText().View());
  for ([[maybe_unused]] auto _ : state) {
    const long long reference_us = FloorMicroseconds(reference.c_str());
    for (const std::string& text : texts) {
      benchmark::DoNotOptimize(static_cast<double>(FloorMicroseconds(text.c_str()) - reference_us) /
                               1e6);
    }
  }
  SetPerText(state);
}
BENCHMARK(FloorOfEpochs)->Arg(100'000)->Unit(benchmark::kMillisecond);

void ScanAndSubtractEpochs(benchmark::State& state) {
  const auto texts = Epochs(static_cast<int>(state.range(0)));
  for ([[maybe_unused]] auto _ : state) {
    for (const std::string& text : texts) {
      benchmark::DoNotOptimize((quellmark::time::ScanUtc(text) - kReference).Seconds());
    }
  }
  SetPerText(state);
}
BENCHMARK(ScanAndSubtractEpochs)->Arg(100'000)->Unit(benchmark::kMillisecond);

void ScanEpochs(benchmark::State& state) {
  const auto texts = Epochs(static_cast<int>(state.range(0)));
  for ([[maybe_unused]] auto _ : state) {
    for (const std::string& text : texts) {
      benchmark::DoNotOptimize(quellmark::time::ScanUtc(text));
    }
  }
  SetPerText(state);
}
BENCHMARK(ScanEpochs)->Arg(100'000)->Unit(benchmark::kMillisecond);

void Sum(benchmark::State& state) {
  const DURATION step(1, 2, 3);
  for ([[maybe_unused]] auto _ : state) benchmark::DoNotOptimize(kReference + step);
}
BENCHMARK(Sum);

}  // namespace
