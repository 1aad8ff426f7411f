#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <utility>

#include "toolbox/check/findings.h"
#include "toolbox/check/known_keys.h"
#include "toolbox/check/spelling.h"
#include <quellmark/error.h>

namespace quellmark::check {

namespace {

constexpr std::string_view kBlanks = " \t\r\n";

std::string_view TakeToken(std::string_view& text) {
  text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
  const std::string_view token = text.substr(0, text.find_first_of(kBlanks));
  text.remove_prefix(token.size());
  return token;
}

std::string_view TakeLine(std::string_view& text) {
  const std::string_view line = text.substr(0, text.find('\n'));
  text.remove_prefix(std::min(line.size() + 1, text.size()));
  return line;
}

std::string_view NearestTypeName(std::string_view name) {
  std::string_view nearest;
  for (int id = 1; id <= static_cast<int>(ValueType::kStringMatrix); ++id) {
    const std::string_view known = NameOf(static_cast<ValueType>(id));
    if (!IsMisspelt(name, known)) continue;
    if (nearest.empty() || SpellingDistance(name, known) < SpellingDistance(name, nearest)) {
      nearest = known;
    }
  }
  return nearest;
}

bool IsFloatScalar(ValueType type) {
  return type == ValueType::kFloat || type == ValueType::kDouble;
}
bool IsFloatVector(ValueType type) {
  return type == ValueType::kFloatVector || type == ValueType::kDoubleVector;
}

// The pool reader accepts a token that begins with a number and ignores the rest.
void CheckForgiven(std::string_view token, std::size_t line, std::string_view key,
                   Findings& findings) {
  const std::string text(token);
  char* end = nullptr;
  const double value = std::strtod(text.c_str(), &end);
  if (*end == '\0' || text.empty()) return;
  if (end == text.c_str()) {
    findings.Error(line, key, "'" + text + "' is no number");
    return;
  }
  const char* const hint = *end == ',' ? "; the decimal sign is a point" : "";
  findings.Warning(
      line, key, "'" + text + "' is read as " + Text(value) + ", '" + end + "' is left out" + hint);
}

// The pool reader silently replaces a number that is too large by the nearest one of 32 (or 64)
// bits.
void CheckInteger(const Entry& entry, Findings& findings) {
  std::string_view text = entry.text;
  std::string_view key_line = TakeLine(text);
  static_cast<void>(TakeToken(key_line));
  static_cast<void>(TakeToken(key_line));
  std::string_view token = TakeToken(key_line);
  if (token.starts_with('+')) token.remove_prefix(1);
  std::int64_t number = 0;
  const auto result = std::from_chars(token.data(), token.data() + token.size(), number);
  const bool fits = result.ec == std::errc() &&
                    (entry.type == ValueType::kInt64 || std::in_range<std::int32_t>(number));
  if (!fits) {
    findings.Error(entry.line, entry.key,
                   "'" + std::string(token) + "' is out of range; another number is read");
  }
}

void CheckNumbers(const Entry& entry, Findings& findings) {
  if (entry.type == ValueType::kInt32 || entry.type == ValueType::kInt64) {
    CheckInteger(entry, findings);
  }
  if (!IsFloatScalar(entry.type) && !IsFloatVector(entry.type)) return;
  std::string_view text = entry.text;
  std::string_view key_line = TakeLine(text);
  static_cast<void>(TakeToken(key_line));
  static_cast<void>(TakeToken(key_line));
  if (IsFloatScalar(entry.type)) {
    CheckForgiven(TakeToken(key_line), entry.line, entry.key, findings);
    const std::string_view rest = TakeToken(key_line);
    if (!rest.empty()) {
      findings.Warning(entry.line, entry.key,
                       "'" + std::string(rest) + "' behind the value is left out");
    }
    return;
  }
  for (std::size_t line = entry.line + 1; !text.empty(); ++line) {
    std::string_view element = TakeLine(text);
    const std::string_view token = TakeToken(element);
    if (!token.empty() && token != "{" && token != "}") {
      CheckForgiven(token, line, entry.key, findings);
    }
  }
}

void CheckType(const Entry& entry, Findings& findings) {
  if (entry.type_name.empty()) {
    findings.Error(entry.line, entry.key, "the entry has no type and no value");
    return;
  }
  const std::string_view nearest = NearestTypeName(entry.type_name);
  std::string message = "'" + std::string(entry.type_name) + "' is no type of an entry";
  if (!nearest.empty()) message += "; is " + std::string(nearest) + " meant?";
  findings.Error(entry.line, entry.key, message);
}

// Returns the reader's own message about a value, without the place before it.
std::string ReasonOf(const Error& error) {
  if (error.LogLines().empty()) return error.what();
  const std::string& line = error.LogLines().front();
  const std::size_t key_end = line.find(" << ");
  return key_end == std::string::npos ? line : line.substr(key_end + 4);
}

void CheckEntry(const Pool& pool, const Entry& entry, Findings& findings) {
  if (entry.key.starts_with("\xEF\xBB\xBF")) return;  // the check of bytes reports this mark
  if (entry.is_repeated) {
    const Entry* const first = pool.Find(entry.key);
    findings.Warning(entry.line, entry.key,
                     "the key stands in line " + std::to_string(first->line) +
                         " already, and that entry is the one that counts");
  }
  if (entry.type == ValueType::kUnknown) {
    CheckType(entry, findings);
    return;
  }
  try {
    static_cast<void>(pool.Parse(entry));
    CheckNumbers(entry, findings);
  } catch (const PoolError& error) {
    findings.Error(entry.line, entry.key, ReasonOf(error));
  }
}

const KnownKey* FindKnown(std::string_view key) {
  const auto* const known = std::find_if(kKnownKeys.begin(), kKnownKeys.end(),
                                         [key](const KnownKey& row) { return row.key == key; });
  return known == kKnownKeys.end() ? nullptr : known;
}

// Returns the line of an indented key, which the reader takes for a part of a body, or 0.
std::size_t LineOfIndented(std::string_view text, std::string_view key) {
  for (std::size_t line = 1; !text.empty(); ++line) {
    std::string_view content = TakeLine(text);
    if (content.empty() || (content.front() != ' ' && content.front() != '\t')) continue;
    if (TakeToken(content) == key && TypeFromName(TakeToken(content)) != ValueType::kUnknown) {
      return line;
    }
  }
  return 0;
}

void CheckMissing(const Pool& pool, const KnownKey& known, Findings& findings) {
  const std::string key(known.key);
  if (const std::size_t line = LineOfIndented(pool.Text(), known.key); line != 0) {
    findings.Error(line, known.key,
                   "'" + key + "' begins with a blank: the reader does not see it");
    return;
  }
  for (const Entry& entry : pool.Entries()) {
    if (FindKnown(entry.key) != nullptr || !IsMisspelt(entry.key, known.key)) continue;
    const std::string message =
        "'" + std::string(entry.key) + "' is not read; is '" + key + "' meant?";
    known.is_required ? findings.Error(entry.line, known.key, message)
                      : findings.Warning(entry.line, known.key, message);
    return;
  }
  if (known.is_required) findings.Error(0, known.key, "the entry '" + key + "' is missing");
}

}  // namespace

void CheckEntries(const Pool& pool, Findings& findings) {
  for (const Entry& entry : pool.Entries()) CheckEntry(pool, entry, findings);
  for (const KnownKey& known : kKnownKeys) {
    const Entry* const entry = pool.Find(known.key);
    if (entry == nullptr) {
      CheckMissing(pool, known, findings);
    } else if (entry->type != known.type && entry->type != ValueType::kUnknown) {
      findings.Error(entry->line, entry->key,
                     "is of the type " + std::string(entry->type_name) + ", but " +
                         std::string(NameOf(known.type)) + " is read");
    }
  }
}

}  // namespace quellmark::check
