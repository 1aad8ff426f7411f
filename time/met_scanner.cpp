#include "time/met_scanner.h"

#include "basic/errors.h"
#include "runtime/log.h"

MISSION_ELAPSED_TIME MET_SCANNER::Scan() {
  const auto report = [](const char* fault) {
    quellmark::runtime::LogLine(quellmark::runtime::LogLevel::kException, "MET_SCANNER: ", fault);
  };
  try {
    return ScanFields();
  } catch (const char* fault) {
    report(fault);
    throw;
  } catch (const ERROR_EXCEPTION& fault) {
    report(fault.Message());
    throw;
  }
}

MISSION_ELAPSED_TIME MET_SCANNER::ScanFields() {
  const std::int32_t sign = GetSign() == '-' ? -1 : 1;
  const std::int32_t days = GetNumber();
  GetSeparator("/");
  const std::int32_t hours = GetNumber();
  GetSeparator(":");
  const std::int32_t minutes = GetNumber();
  GetSeparator(":");
  const std::int32_t seconds = GetNumber();
  Fraction fraction;
  if (Accept(TokenKind::kPoint)) fraction = GetMilliAndMicroSeconds();
  if (!AtEnd()) throw ERROR_DATA();
  return {sign, days, hours, minutes, seconds, fraction.milliseconds, fraction.microseconds};
}

namespace quellmark::time {

MISSION_ELAPSED_TIME ScanMet(std::string_view text) { return MET_SCANNER(text).Scan(); }

}  // namespace quellmark::time
