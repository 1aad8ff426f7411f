#pragma once

#include <string_view>

#include "time/time_scanner.h"
#include "time/universal_time.h"

/// Reads a whole text as a UTC time, in the forms that UNIVERSAL_TIME prints. The fraction may be
/// left out, with or without its point, and a "Z" may follow. Month names are in capitals.
class UTC_SCANNER : public TIME_SCANNER {
 public:
  enum class Format : int {
    kAny = 0,   ///< the form is found from the text
    kLong = 1,  ///< UNIVERSAL_TIME::LongText()
    kIso = 2,   ///< UNIVERSAL_TIME::IsoText()
  };

  /// The text is not copied and must outlive the scanner.
  explicit UTC_SCANNER(std::string_view text) : TIME_SCANNER(text), whole_text_(text) {}

  /// Every failure writes its lines at level EXCEPTION; the last one names the text. Throws
  /// ERROR_DATA for a field out of range and for text after a complete time, the character strings
  /// of TIME_SCANNER, and "invalid or unsupported format" for another format.
  [[nodiscard]] UNIVERSAL_TIME Scan(Format format = Format::kAny);

 private:
  UNIVERSAL_TIME ScanFields(Format format);
  void ScanDate(Format format, UNIVERSAL_TIME& time);
  void ScanTimeOfDay(UNIVERSAL_TIME& time);

  std::string_view whole_text_;
};

namespace quellmark::time {

/// Reads the whole text as a UTC time. Fails like UTC_SCANNER::Scan().
[[nodiscard]] UNIVERSAL_TIME ScanUtc(std::string_view text);

}  // namespace quellmark::time
