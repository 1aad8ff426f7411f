#include "toolbox/report/coastline.h"

#include <charconv>
#include <string_view>

// The data file is a part of the program, so that no path to it is needed.
asm(".section .rodata\n"
    ".global qm_coastline_begin\n"
    ".global qm_coastline_end\n"
    "qm_coastline_begin:\n"
    ".incbin \"" QM_COASTLINE_FILE
    "\"\n"
    "qm_coastline_end:\n"
    ".byte 0\n"
    ".previous\n");
extern "C" const char qm_coastline_begin[];
extern "C" const char qm_coastline_end[];

namespace quellmark::report {

namespace {

// Reads one line, whose numbers are differences in hundredths of a degree.
Ring RingOf(std::string_view line) {
  constexpr double kDegrees = 0.01;
  Ring ring;
  long numbers[2] = {0, 0};
  const char* at = line.data();
  const char* const end = at + line.size();
  for (int i = 0; at < end; ++i) {
    long difference = 0;
    at = std::from_chars(at, end, difference).ptr + 1;
    numbers[i % 2] += difference;
    if (i % 2 == 1) {
      ring.push_back(
          {static_cast<double>(numbers[0]) * kDegrees, static_cast<double>(numbers[1]) * kDegrees});
    }
  }
  return ring;
}

}  // namespace

std::vector<Ring> Coastlines() {
  std::vector<Ring> rings;
  std::string_view text(qm_coastline_begin,
                        static_cast<std::size_t>(qm_coastline_end - qm_coastline_begin));
  while (!text.empty()) {
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(line.size() + 1);
    rings.push_back(RingOf(line));
  }
  return rings;
}

}  // namespace quellmark::report
