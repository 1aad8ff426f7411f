// The file that SavePolynomial writes.
#pragma once

#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

#include "orbit/interpolation/piece_table.h"

namespace quellmark::orbit {

/// Plain text: header lines "name: value" (the order and the support point count are those of one
/// piece), then one line per piece of each coordinate,
///   coordinate t_start t_stop c0 c1 ... | z0 z1 ...
/// with times in seconds after the reference time and all numbers with 17 significant digits, so
/// that a reader gets exactly the same numbers.
class CoefficientFile {
 public:
  /// Creates or replaces the file `name` + ".pkt"; if that fails, logs an ALARM line, and all later
  /// calls do nothing.
  explicit CoefficientFile(std::string_view name);

  /// One line of the header.
  void Header(std::string_view name, std::string_view value);
  void Header(std::string_view name, int value) { Header(name, std::to_string(value)); }
  /// One line of coefficients.
  template <class T>
  void Add(int coordinate, const Piece<T>& piece);
  /// Logs an ALARM line and throws ERROR_CAN_NOT_WRITE_FILE if not everything could be written.
  void Close();

 private:
  struct Closer {
    void operator()(std::FILE* file) const { static_cast<void>(std::fclose(file)); }
  };

  void WriteNumber(double number);

  std::string name_;
  std::unique_ptr<std::FILE, Closer> file_;  // C++ streams would add a megabyte to the program
};

}  // namespace quellmark::orbit
