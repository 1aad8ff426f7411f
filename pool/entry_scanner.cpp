#include "pool/entry_scanner.h"

#include <array>
#include <utility>

#include "basic/errors.h"
#include "pool/value_reader.h"
#include "runtime/log.h"

namespace quellmark::pool {
namespace {

std::string_view Between(const char* begin, const char* end) {
  return {begin, static_cast<std::size_t>(end - begin)};
}

std::string_view WithoutTrailingBlanks(std::string_view text) {
  while (!text.empty() && (IsBlank(text.back()) || IsLineEnd(text.back()))) text.remove_suffix(1);
  return text;
}

template <std::size_t kId>
AnyValue Parse(std::string_view key, TokenCursor cursor, LineReader& lines) {
  using Value = std::variant_alternative_t<kId, AnyValue>;
  return AnyValue(std::in_place_index<kId>, ReadValue<Value>(key, cursor, lines));
}

template <std::size_t... kIds>
constexpr auto ParsersOf(std::index_sequence<kIds...> /*ids*/) {
  return std::array{&Parse<kIds>...};
}

constexpr auto kParsers = ParsersOf(std::make_index_sequence<kValueTypeCount>());

}  // namespace

EntryScanner::EntryScanner(std::string_view text) : text_(text) {
  lines_.Rewind(text);
  if (!lines_.Next(line_)) line_ = {};
}

void EntryScanner::NextLine() {
  if (line_.ends_with('\n')) ++number_;
  if (!lines_.Next(line_)) line_ = {};
}

// The LF of a pair CR LF counts as an empty line, but it must not separate comments from their
// entry.
bool EntryScanner::EndsPairOfLineEnds() const {
  return line_ == "\n" && line_.data() != text_.data() && *(line_.data() - 1) == '\r';
}

bool EntryScanner::Next(PoolEntry& entry) {
  const char* comments = nullptr;  // the first comment line right above the entry
  for (; !line_.empty() && !IsKeyLine(line_); NextLine()) {
    if (line_.front() == '#') {
      if (comments == nullptr) comments = line_.data();
    } else if (!EndsPairOfLineEnds()) {
      comments = nullptr;
    }
  }
  if (line_.empty()) return false;

  const char* const begin = line_.data();
  entry.comments = comments != nullptr ? Between(comments, begin) : std::string_view();
  entry.line = number_;
  entry.key = KeyOf(line_);
  entry.rest = Between(begin, text_.data() + text_.size());
  TokenCursor cursor(line_);
  if (entry.key.size() < kKeyLimit) {
    cursor.Skip(entry.key.size());
  } else {
    static_cast<void>(cursor.Next());  // skips the whole key; KeyOf() may have cut it short
  }
  entry.type = cursor.Next();
  entry.value = WithoutTrailingBlanks(cursor.Rest());

  const char* const body = begin + line_.size();
  do NextLine();
  while (!line_.empty() && !IsKeyLine(line_) && line_.front() != '#');
  entry.body = Between(body, line_.empty() ? text_.data() + text_.size() : line_.data());
  return true;
}

AnyValue ParseEntry(const PoolEntry& entry) {
  if (entry.type.empty()) {
    runtime::Fail<ERROR_PARAMETER_POOL>("parameter pool: parameter key >> ", entry.key,
                                        " << no type information found\n");
  }
  LineReader lines;
  lines.Rewind(entry.rest);
  std::string_view line;
  static_cast<void>(lines.Next(line));
  TokenCursor cursor(line);
  static_cast<void>(cursor.Next());
  static_cast<void>(cursor.Next());
  return kParsers[static_cast<std::size_t>(entry.Type())](entry.key, cursor, lines);
}

}  // namespace quellmark::pool
