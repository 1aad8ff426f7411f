// Takes any bytes as a time. A time that is accepted must be the same after it was printed and read
// again, and another time plus their distance must lead back to it.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <variant>

#include "basic/errors.h"
#include "tests/fuzz/fuzz.h"
#include "time/time_value.h"

namespace {

using quellmark::test::Check;
using quellmark::time::ScanTime;

void CheckAgain(double number) { Check(number - number == 0.0); }

void CheckAgain(const MISSION_ELAPSED_TIME& time) {
  Check(std::get<MISSION_ELAPSED_TIME>(ScanTime(time.Text().View())) == time);
  const MISSION_ELAPSED_TIME start;
  Check(start + (time - start) == time);
}

void CheckAgain(const UNIVERSAL_TIME& time) {
  for (const STRING& text : {time.LongText(), time.IsoText(), time.IsoText(6, true)}) {
    Check(std::get<UNIVERSAL_TIME>(ScanTime(text.View())) == time);
  }
  if (time.year > 136'000) return;  // can be scanned, but is too far for the arithmetic
  const UNIVERSAL_TIME reference = {2009, 1, 1};
  const DURATION distance = time - reference;
  Check(reference - time == -distance);
  // Sums near a leap second may differ by one second, and the seconds 61 and 62 by two more.
  Check(std::abs(((reference + distance) - time).Seconds()) <= 3.0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  try {
    const auto time = ScanTime(quellmark::test::TextOf(data, size));
    std::visit([](const auto& value) { CheckAgain(value); }, time);
  } catch (const char*) {  // the two kinds of refusal
  } catch (const ERROR_DATA&) {
  }
  return 0;
}
