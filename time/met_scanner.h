#pragma once

#include <string_view>

#include "time/mission_elapsed_time.h"
#include "time/time_scanner.h"

/// Reads a whole text as a mission elapsed time, in the form that MISSION_ELAPSED_TIME prints. The
/// sign and the fraction may be left out.
class MET_SCANNER : public TIME_SCANNER {
 public:
  /// The text is not copied and must outlive the scanner.
  explicit MET_SCANNER(std::string_view text) : TIME_SCANNER(text) {}

  /// Every failure writes "MET_SCANNER: " and its message at level EXCEPTION. Throws the character
  /// strings of TIME_SCANNER and "can not represent MET value", and ERROR_DATA for text after a
  /// complete time. Fields beyond their range carry into the larger ones, as MISSION_ELAPSED_TIME
  /// does.
  [[nodiscard]] MISSION_ELAPSED_TIME Scan();

 private:
  MISSION_ELAPSED_TIME ScanFields();
};

namespace quellmark::time {

/// Reads the whole text as a mission elapsed time. Fails like MET_SCANNER::Scan().
[[nodiscard]] MISSION_ELAPSED_TIME ScanMet(std::string_view text);

}  // namespace quellmark::time
