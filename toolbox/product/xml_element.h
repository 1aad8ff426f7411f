// Reads the fields of an XML document by path. Errors name the file and the path.
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

/// An element. It keeps its document alive. Paths of children have '/', as in "orbitList/orbit".
/// All functions throw ImportError with file and path unless they say otherwise.
class XmlElement {
 public:
  /// Returns the document element of `text`. With `is_cut` the text may end anywhere, and the part
  /// before that is read.
  static XmlElement Parse(const std::string& file, const std::string& text, bool is_cut = false);

  [[nodiscard]] std::string_view Name() const { return node_.name(); }
  [[nodiscard]] const std::string& File() const;

  /// Returns the first element on `path`.
  [[nodiscard]] XmlElement Child(std::string_view path) const;
  [[nodiscard]] bool Has(std::string_view path) const;
  /// Returns Child(path) and its later siblings of the same name.
  [[nodiscard]] std::vector<XmlElement> Children(std::string_view path) const;
  [[nodiscard]] std::size_t CountOf(std::string_view path) const;

  /// Returns the text without the blanks around it. `OptionalText` returns "" if the element is
  /// missing.
  [[nodiscard]] std::string Text(std::string_view path = "") const;
  [[nodiscard]] std::string OptionalText(std::string_view path) const;
  [[nodiscard]] std::string Attribute(const char* name) const;
  /// Returns a finite number.
  [[nodiscard]] double Number(std::string_view path = "") const;
  /// Returns finite numbers that are separated by blanks, at least one.
  [[nodiscard]] std::vector<double> Numbers(std::string_view path = "") const;
  /// Returns a number of lines or samples: 1 to 2^31 - 1.
  [[nodiscard]] std::int32_t Count(std::string_view path = "") const;
  [[nodiscard]] UtcTime Time(std::string_view path = "") const;

  /// Return the same, with the path as the source.
  [[nodiscard]] Sourced<double> SourcedNumber(std::string_view path) const;
  [[nodiscard]] Sourced<std::int32_t> SourcedCount(std::string_view path) const;
  [[nodiscard]] Sourced<UtcTime> SourcedTime(std::string_view path) const;
  /// Returns the side for "right" or "left", in upper or lower case.
  [[nodiscard]] Sourced<LookSide> SourcedLookSide(std::string_view path) const;

  /// Throws ImportError for this element, or for the one on `path`.
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

/// The place of the state vectors in a product: the path of the list, and the fields of one vector.
struct StateVectorFields {
  const char* list;
  const char* time;
  std::array<const char*, 3> position_m;
  std::array<const char*, 3> velocity_m_s;
};

[[nodiscard]] Sourced<std::vector<StateVector>> ReadStateVectors(const XmlElement& root,
                                                                 const StateVectorFields& fields);

/// Converts `text`, without blanks around it, to a finite number. Returns nothing if it is no such
/// number.
[[nodiscard]] std::optional<double> ParseNumber(std::string_view text);
/// Converts "right" or "left", in upper or lower case.
[[nodiscard]] std::optional<LookSide> ParseLookSide(std::string_view text);

}  // namespace quellmark::product
