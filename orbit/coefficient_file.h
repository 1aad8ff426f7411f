// The file that SavePolynomial writes.
#pragma once

#include <fstream>
#include <string>
#include <string_view>

#include "orbit/interpolation.h"

namespace quellmark::orbit {

/// Plain text: header lines "name: value", then one line per piece of each coordinate,
///   coordinate t_start t_stop c0 c1 ... | z0 z1 ...
/// with times in seconds after the reference time and all numbers with 17 significant digits, so
/// that they read back as they were.
class CoefficientFile {
 public:
  /// Creates or replaces the file `name` + ".pkt"; logs an ALARM line if it can not, and then drops
  /// what it is given.
  explicit CoefficientFile(std::string_view name);

  /// One line of the header.
  template <class Value>
  void Header(std::string_view name, const Value& value) {
    out_ << name << ": " << value << '\n';
  }
  /// One line of coefficients.
  template <class T>
  void Add(int coordinate, const Piece<T>& piece);
  /// Logs an ALARM line and throws ERROR_CAN_NOT_WRITE_FILE if not everything could be written.
  void Close();

 private:
  std::string name_;
  std::ofstream out_;
};

}  // namespace quellmark::orbit
