#include "orbit/coefficient_file.h"

#include <array>
#include <charconv>

#include "basic/errors.h"
#include "runtime/log.h"

namespace quellmark::orbit {

namespace {

void Write(std::ofstream& out, double number) {
  std::array<char, 32> text;
  const auto end = std::to_chars(text.data(), text.data() + text.size(), number,
                                 std::chars_format::scientific, 16);
  out << ' ' << std::string_view(text.data(), static_cast<std::size_t>(end.ptr - text.data()));
}

}  // namespace

CoefficientFile::CoefficientFile(std::string_view name) : name_(std::string(name) + ".pkt") {
  out_.open(name_, std::ios::trunc);
  if (!out_.is_open()) {
    runtime::LogLine(LOG::Level::kAlarm, "ORBIT::SavePolynomial() can not create file: ", name_);
  }
}

template <class T>
void CoefficientFile::Add(int coordinate, const Piece<T>& piece) {
  out_ << coordinate;
  for (const T t : {piece.t_start, piece.t_stop}) Write(out_, static_cast<double>(t));
  for (const T c : piece.c) Write(out_, static_cast<double>(c));
  out_ << " |";
  for (const T z : piece.z) Write(out_, static_cast<double>(z));
  out_ << '\n';
}

template void CoefficientFile::Add(int, const Piece<float>&);
template void CoefficientFile::Add(int, const Piece<double>&);

void CoefficientFile::Close() {
  if (!out_.is_open()) return;
  out_.close();
  if (out_.fail()) {
    runtime::Fail<ERROR_CAN_NOT_WRITE_FILE>("ORBIT::SavePolynomial() can not write file: ", name_,
                                            "\n");
  }
}

}  // namespace quellmark::orbit
