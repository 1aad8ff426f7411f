#include "orbit/coefficient_file.h"

#include "basic/errors.h"
#include "runtime/log.h"

namespace quellmark::orbit {

CoefficientFile::CoefficientFile(std::string_view name)
    : name_(std::string(name) + ".pkt"), file_(std::fopen(name_.c_str(), "we")) {
  if (file_ == nullptr) {
    runtime::LogLine(LOG::Level::kAlarm, "ORBIT::SavePolynomial() can not create file: ", name_);
  }
}

void CoefficientFile::Header(std::string_view name, std::string_view value) {
  if (file_ == nullptr) return;
  std::fprintf(file_.get(), "%s: %s\n", std::string(name).c_str(), std::string(value).c_str());
}

void CoefficientFile::WriteNumber(double number) { std::fprintf(file_.get(), " %.16e", number); }

template <class T>
void CoefficientFile::Add(int coordinate, const Piece<T>& piece) {
  if (file_ == nullptr) return;
  std::fprintf(file_.get(), "%d", coordinate);
  for (const T t : {piece.t_start, piece.t_stop}) WriteNumber(static_cast<double>(t));
  for (const T c : piece.c) WriteNumber(static_cast<double>(c));
  std::fputs(" |", file_.get());
  for (const T z : piece.z) WriteNumber(static_cast<double>(z));
  std::fputc('\n', file_.get());
}

template void CoefficientFile::Add(int, const Piece<float>&);
template void CoefficientFile::Add(int, const Piece<double>&);

void CoefficientFile::Close() {
  if (file_ == nullptr) return;
  const bool was_written = std::ferror(file_.get()) == 0;
  if (std::fclose(file_.release()) != 0 || !was_written) {
    runtime::Fail<ERROR_CAN_NOT_WRITE_FILE>("ORBIT::SavePolynomial() can not write file: ", name_,
                                            "\n");
  }
}

}  // namespace quellmark::orbit
