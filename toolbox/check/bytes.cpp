#include "toolbox/check/findings.h"

namespace quellmark::check {

namespace {

constexpr std::size_t kMaxLine = 1024;  // the longest line for the step

struct LineCounts {
  std::size_t crlf = 0;
  std::size_t first_crlf = 0;
  std::size_t lone_cr = 0;
  std::size_t first_lone_cr = 0;
};

void CountCarriageReturns(std::string_view text, LineCounts& counts) {
  std::size_t line = 1;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\n') ++line;
    if (text[i] != '\r') continue;
    const bool is_crlf = i + 1 < text.size() && text[i + 1] == '\n';
    std::size_t& count = is_crlf ? counts.crlf : counts.lone_cr;
    std::size_t& first = is_crlf ? counts.first_crlf : counts.first_lone_cr;
    if (count++ == 0) first = line;
  }
}

}  // namespace

bool CheckBytes(const Pool& pool, Findings& findings) {
  std::string_view text = pool.Text();
  if (text.empty()) {
    findings.Error(0, "", "the file is empty");
    return false;
  }
  if (text.starts_with("\xFF\xFE") || text.starts_with("\xFE\xFF")) {
    findings.Error(1, "", "the file is UTF-16; a pool has one byte a character (qmtool pool fix)");
    return false;
  }
  if (text.starts_with("\xEF\xBB\xBF")) {
    const bool hides_key = text.size() > 3 && text[3] != '#' && text[3] != '\n' && text[3] != '\r';
    const char* const message =
        hides_key ? "a byte-order mark stands before the first key, which is not found with it "
                    "(qmtool pool fix)"
                  : "the file begins with a byte-order mark (qmtool pool fix)";
    hides_key ? findings.Error(1, "", message) : findings.Warning(1, "", message);
  }

  LineCounts counts;
  CountCarriageReturns(text, counts);
  if (counts.crlf != 0) {
    findings.Warning(counts.first_crlf, "",
                     std::to_string(counts.crlf) +
                         " lines end with CR LF, which is read as one more, empty line each "
                         "(qmtool pool fix)");
  }
  if (counts.lone_cr != 0) {
    findings.Warning(counts.first_lone_cr, "",
                     std::to_string(counts.lone_cr) + " lines end with CR alone (qmtool pool fix)");
  }

  std::size_t line = 1;
  while (!text.empty()) {
    const std::string_view content = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(content.size() + 1, text.size()));
    if (content.size() > kMaxLine) {
      findings.Warning(line, "",
                       "the line has " + std::to_string(content.size()) + " characters; behind " +
                           std::to_string(kMaxLine) + " it is read as the next line");
    }
    if (content.find('\0') != std::string_view::npos) {
      findings.Error(line, "", "the line holds a NUL character");
    }
    ++line;
  }
  return true;
}

}  // namespace quellmark::check
