#include "toolbox/product/xml_element.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <utility>

#include "toolbox/product/import.h"

namespace quellmark::product {

namespace {

constexpr std::string_view kBlanks = " \t\r\n";

std::string_view Trimmed(std::string_view text) {
  const std::size_t begin = text.find_first_not_of(kBlanks);
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1);
}

// Removes the first step of the path, up to the next '/', and returns it.
std::string TakeStep(std::string_view& path) {
  const std::size_t end = std::min(path.find('/'), path.size());
  std::string step(path.substr(0, end));
  path.remove_prefix(std::min(end + 1, path.size()));
  return step;
}

// Returns a text of the product in a form for messages.
std::string Quoted(std::string_view text) {
  constexpr std::size_t kLongest = 60;
  std::string quoted(text.substr(0, kLongest));
  if (text.size() > kLongest) quoted += "...";
  return '"' + quoted + '"';
}

}  // namespace

struct XmlElement::Document {
  std::string file;
  pugi::xml_document content;
};

XmlElement XmlElement::Parse(const std::string& file, const std::string& text, bool is_cut) {
  const auto document = std::make_shared<Document>();
  document->file = file;
  const pugi::xml_parse_result result =
      document->content.load_buffer(text.data(), text.size(), pugi::parse_default);
  if (!result && !is_cut) {
    throw ImportError(file, "",
                      "is no XML document: " + std::string(result.description()) + " at byte " +
                          std::to_string(result.offset));
  }
  const pugi::xml_node root = document->content.document_element();
  if (!root) throw ImportError(file, "", "is no XML document: has no element");
  return {document, root, ""};
}

const std::string& XmlElement::File() const { return document_->file; }

pugi::xml_node XmlElement::Find(std::string_view path) const {
  pugi::xml_node node = node_;
  while (node && !path.empty()) node = node.child(TakeStep(path).c_str());
  return node;
}

std::string XmlElement::PathOf(std::string_view path) const {
  if (path_.empty() || path.empty()) return path_ + std::string(path);
  return path_ + '/' + std::string(path);
}

XmlElement XmlElement::Child(std::string_view path) const {
  const pugi::xml_node node = Find(path);
  if (!node) Fail("is missing", path);
  return {document_, node, PathOf(path)};
}

bool XmlElement::Has(std::string_view path) const { return static_cast<bool>(Find(path)); }

std::vector<XmlElement> XmlElement::Children(std::string_view path) const {
  std::vector<XmlElement> children;
  const pugi::xml_node first = Child(path).node_;
  const std::string name = first.name();
  for (pugi::xml_node node = first; node; node = node.next_sibling(name.c_str())) {
    children.push_back(XmlElement(document_, node,
                                  PathOf(path) + '[' + std::to_string(children.size() + 1) + ']'));
  }
  return children;
}

std::size_t XmlElement::CountOf(std::string_view path) const {
  return Has(path) ? Children(path).size() : 0;
}

std::string XmlElement::Text(std::string_view path) const {
  return std::string(Trimmed(Child(path).node_.child_value()));
}

std::string XmlElement::OptionalText(std::string_view path) const {
  return std::string(Trimmed(Find(path).child_value()));
}

std::string XmlElement::Attribute(const char* name) const {
  return node_.attribute(name).as_string();
}

double XmlElement::Number(std::string_view path) const {
  const std::string text = Text(path);
  const auto number = ParseNumber(text);
  if (!number) Fail(Quoted(text) + " is no number", path);
  return *number;
}

std::vector<double> XmlElement::Numbers(std::string_view path) const {
  const std::string text = Text(path);
  std::vector<double> numbers;
  std::string_view rest = text;
  while (!rest.empty()) {
    const std::string_view word = rest.substr(0, rest.find_first_of(kBlanks));
    const auto number = ParseNumber(word);
    if (!number) Fail(Quoted(word) + " is no number", path);
    numbers.push_back(*number);
    rest = Trimmed(rest.substr(word.size()));
  }
  if (numbers.empty()) Fail("is empty", path);
  return numbers;
}

std::int32_t XmlElement::Count(std::string_view path) const {
  const double number = Number(path);
  if (number < 1.0 || number > std::numeric_limits<std::int32_t>::max() ||
      number != std::floor(number)) {
    Fail(Quoted(Text(path)) + " is no number of lines or samples", path);
  }
  return static_cast<std::int32_t>(number);
}

UtcTime XmlElement::Time(std::string_view path) const {
  const std::string text = Text(path);
  const auto time = ParseUtc(text.starts_with("UTC=") ? text.substr(4) : text);
  if (!time) Fail(Quoted(text) + " is no UTC time", path);
  return *time;
}

Sourced<double> XmlElement::SourcedNumber(std::string_view path) const {
  return {Number(path), PathOf(path)};
}

Sourced<std::int32_t> XmlElement::SourcedCount(std::string_view path) const {
  return {Count(path), PathOf(path)};
}

Sourced<UtcTime> XmlElement::SourcedTime(std::string_view path) const {
  return {Time(path), PathOf(path)};
}

Sourced<LookSide> XmlElement::SourcedLookSide(std::string_view path) const {
  const std::string text = Text(path);
  const auto side = ParseLookSide(text);
  if (!side) Fail(Quoted(text) + " is no look direction", path);
  return {*side, PathOf(path)};
}

void XmlElement::Fail(const std::string& problem, std::string_view path) const {
  throw ImportError(document_->file, PathOf(path), problem);
}

Sourced<std::vector<StateVector>> ReadStateVectors(const XmlElement& root,
                                                   const StateVectorFields& fields) {
  Sourced<std::vector<StateVector>> orbit;
  orbit.source = fields.list;
  for (const XmlElement& element : root.Children(fields.list)) {
    StateVector& vector = orbit.value.emplace_back();
    vector.time = element.Time(fields.time);
    for (std::size_t i = 0; i < 3; ++i) {
      vector.position_m[i] = element.Number(fields.position_m[i]);
      vector.velocity_m_s[i] = element.Number(fields.velocity_m_s[i]);
    }
  }
  return orbit;
}

std::optional<double> ParseNumber(std::string_view text) {
  text = Trimmed(text);
  if (text.starts_with('+')) text.remove_prefix(1);
  double value = 0.0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(value)) return {};
  return value;
}

std::optional<LookSide> ParseLookSide(std::string_view text) {
  std::string lower(text);
  for (char& c : lower) c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  if (lower == "right") return LookSide::kRight;
  if (lower == "left") return LookSide::kLeft;
  return {};
}

}  // namespace quellmark::product
