// The fields of an XML document, by path; what is missing or no value is told with file and path.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "toolbox/product/scene_description.h"
#include "toolbox/product/utc_time.h"

#include <pugixml.hpp>

namespace quellmark::product {

/// An element, together with the document that it keeps alive. Paths of children are written with
/// '/', as "orbitList/orbit". Everything throws ImportError with file and path unless it says
/// otherwise.
class XmlElement {
 public:
  /// The document element of `text`. The text may be cut off where `is_cut` says so: what stands
  /// before the cut is read.
  static XmlElement Parse(const std::string& file, const std::string& text, bool is_cut = false);

  [[nodiscard]] std::string_view Name() const { return node_.name(); }
  [[nodiscard]] const std::string& File() const;

  /// The first element on `path`.
  [[nodiscard]] XmlElement Child(std::string_view path) const;
  [[nodiscard]] bool Has(std::string_view path) const;
  /// All elements on `path` below the first of each parent; at least one.
  [[nodiscard]] std::vector<XmlElement> Children(std::string_view path) const;
  [[nodiscard]] std::size_t CountOf(std::string_view path) const;

  /// Text without the blanks around it; `OptionalText` is empty where the element is missing.
  [[nodiscard]] std::string Text(std::string_view path = "") const;
  [[nodiscard]] std::string OptionalText(std::string_view path) const;
  [[nodiscard]] std::string Attribute(const char* name) const;
  /// A finite number.
  [[nodiscard]] double Number(std::string_view path = "") const;
  /// Finite numbers with blanks between them, at least one.
  [[nodiscard]] std::vector<double> Numbers(std::string_view path = "") const;
  /// A number of lines or samples: 1 to 2^31 - 1.
  [[nodiscard]] std::int32_t Count(std::string_view path = "") const;
  [[nodiscard]] UtcTime Time(std::string_view path = "") const;

  /// The same with their path as the source.
  [[nodiscard]] Sourced<double> SourcedNumber(std::string_view path) const;
  [[nodiscard]] Sourced<std::int32_t> SourcedCount(std::string_view path) const;
  [[nodiscard]] Sourced<UtcTime> SourcedTime(std::string_view path) const;
  /// "right" or "left", whatever the case of its letters.
  [[nodiscard]] Sourced<LookSide> SourcedLookSide(std::string_view path) const;

  /// Throws ImportError about this element, or about the one on `path`.
  [[noreturn]] void Fail(const std::string& problem, std::string_view path = "") const;

 private:
  struct Document;
  XmlElement(std::shared_ptr<const Document> document, pugi::xml_node node, std::string path)
      : document_(std::move(document)), node_(node), path_(std::move(path)) {}

  [[nodiscard]] pugi::xml_node Find(std::string_view path) const;
  [[nodiscard]] std::string PathOf(std::string_view path) const;

  std::shared_ptr<const Document> document_;
  pugi::xml_node node_;
  std::string path_;
};

/// Where a product keeps its state vectors: the list's path, and the fields of one of them.
struct StateVectorFields {
  const char* list;
  const char* time;
  std::array<const char*, 3> position_m;
  std::array<const char*, 3> velocity_m_s;
};

[[nodiscard]] Sourced<std::vector<StateVector>> ReadStateVectors(const XmlElement& root,
                                                                 const StateVectorFields& fields);

/// The whole of `text`, but for blanks around it, as a finite number; nothing if it is none.
[[nodiscard]] std::optional<double> ParseNumber(std::string_view text);
/// "right" or "left" in any case of the letters.
[[nodiscard]] std::optional<LookSide> ParseLookSide(std::string_view text);

}  // namespace quellmark::product
