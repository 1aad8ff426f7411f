/// @file
/// Parameter pools: typed entries in a text file.
#pragma once

#include <complex>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include <quellmark/export.h>

namespace quellmark {

/// The type of an entry. The numbers, and the names in files, are part of the format.
enum class ValueType : std::uint8_t {
  kUnknown,              ///< "UNKNOWN" or any name that is not in this list
  kBool,                 ///< "BOL"
  kUint8,                ///< "BYT"
  kInt8,                 ///< "INT_8"
  kInt16,                ///< "INT_16"
  kInt32,                ///< "INT_32"
  kInt64,                ///< "INT_64"
  kFloat,                ///< "FLT_6"
  kDouble,               ///< "FLT_15"
  kString,               ///< "STR"
  kComplexFloat,         ///< "CPL_6"
  kComplexDouble,        ///< "CPL_15"
  kInt32Pair,            ///< "INT_32_INT_32"
  kInt64Pair,            ///< "INT_64_INT_64"
  kFloatPair,            ///< "FLT_6_FLT_6"
  kDoublePair,           ///< "FLT_15_FLT_15"
  kIndexedInt32,         ///< "IDX_INT_32"
  kIndexedFloat,         ///< "IDX_FLT_6"
  kIndexedDouble,        ///< "IDX_FLT_15"
  kStringPair,           ///< "STR_STR"
  kBoolVector,           ///< "BOL_V"
  kUint8Vector,          ///< "BYT_V"
  kInt8Vector,           ///< "INT_8_V"
  kInt16Vector,          ///< "INT_16_V"
  kInt32Vector,          ///< "INT_32_V"
  kInt64Vector,          ///< "INT_64_V"
  kFloatVector,          ///< "FLT_6_V"
  kDoubleVector,         ///< "FLT_15_V"
  kComplexFloatVector,   ///< "CPL_6_V"
  kComplexDoubleVector,  ///< "CPL_15_V"
  kStringVector,         ///< "STR_V"
  kInt32PairVector,      ///< "INT_32_INT_32_V"
  kInt64PairVector,      ///< "INT_64_INT_64_V"
  kFloatPairVector,      ///< "FLT_6_FLT_6_V"
  kDoublePairVector,     ///< "FLT_15_FLT_15_V"
  kIndexedInt32Vector,   ///< "IDX_INT_32_V"
  kIndexedFloatVector,   ///< "IDX_FLT_6_V"
  kIndexedDoubleVector,  ///< "IDX_FLT_15_V"
  kStringPairVector,     ///< "STR_STR_V"
  kUint8Matrix,          ///< "BYT_M"
  kInt8Matrix,           ///< "INT_8_M"
  kInt16Matrix,          ///< "INT_16_M"
  kInt32Matrix,          ///< "INT_32_M"
  kFloatMatrix,          ///< "FLT_6_M"
  kDoubleMatrix,         ///< "FLT_15_M"
  kComplexFloatMatrix,   ///< "CPL_6_M"
  kComplexDoubleMatrix,  ///< "CPL_15_M"
  kStringMatrix,         ///< "STR_M"
};

/// Returns the name of a type in files, as listed above.
[[nodiscard]] QM_API std::string_view NameOf(ValueType type) noexcept;
/// Returns the type of exactly this name, or kUnknown.
[[nodiscard]] QM_API ValueType TypeFromName(std::string_view name) noexcept;

/// Two values of one type.
template <class T>
struct Pair {
  T first{};   ///< the first value in the line
  T second{};  ///< the second value in the line
  /// Whether both are equal.
  friend bool operator==(const Pair&, const Pair&) = default;
};

/// A value with an index.
template <class T>
struct Indexed {
  std::int32_t index = 0;  ///< any number
  T value{};               ///< the value for this index
  /// Whether both are equal.
  friend bool operator==(const Indexed&, const Indexed&) = default;
};

/// A vector of a pool, with the index of its first element, which may be any number.
template <class T>
struct Vector {
  std::int32_t first_index = 1;  ///< index of values[0]
  std::vector<T> values{};       ///< in the order of the indices
  /// Whether indices and values are equal.
  friend bool operator==(const Vector&, const Vector&) = default;
};

/// A matrix of a pool, with the indices of its first row and column.
template <class T>
struct Matrix {
  std::int32_t first_row = 1;     ///< index of the first row
  std::int32_t rows = 0;          ///< number of rows
  std::int32_t first_column = 1;  ///< index of the first column
  std::int32_t columns = 0;       ///< number of columns
  std::vector<T> values{};        ///< rows x columns elements, row by row
  /// Whether indices and values are equal.
  friend bool operator==(const Matrix&, const Matrix&) = default;
};

/// The value of an entry. The alternatives have the order of ValueType, so index() is the number of
/// the type. An entry of unknown type has no value.
using Value = std::variant<
    std::monostate, bool, std::uint8_t, std::int8_t, std::int16_t, std::int32_t, std::int64_t,
    float, double, std::string, std::complex<float>, std::complex<double>, Pair<std::int32_t>,
    Pair<std::int64_t>, Pair<float>, Pair<double>, Indexed<std::int32_t>, Indexed<float>,
    Indexed<double>, Pair<std::string>, Vector<bool>, Vector<std::uint8_t>, Vector<std::int8_t>,
    Vector<std::int16_t>, Vector<std::int32_t>, Vector<std::int64_t>, Vector<float>, Vector<double>,
    Vector<std::complex<float>>, Vector<std::complex<double>>, Vector<std::string>,
    Vector<Pair<std::int32_t>>, Vector<Pair<std::int64_t>>, Vector<Pair<float>>,
    Vector<Pair<double>>, Vector<Indexed<std::int32_t>>, Vector<Indexed<float>>,
    Vector<Indexed<double>>, Vector<Pair<std::string>>, Matrix<std::uint8_t>, Matrix<std::int8_t>,
    Matrix<std::int16_t>, Matrix<std::int32_t>, Matrix<float>, Matrix<double>,
    Matrix<std::complex<float>>, Matrix<std::complex<double>>, Matrix<std::string>>;

static_assert(std::variant_size_v<Value> == static_cast<std::size_t>(ValueType::kStringMatrix) + 1);

/// Returns the type of an entry with this value.
[[nodiscard]] inline ValueType TypeOf(const Value& value) noexcept {
  return static_cast<ValueType>(value.index());
}

/// Whether a `T` is the value of some type of entry.
template <class T>
concept PoolValue = []<class... Ts>(std::type_identity<std::variant<std::monostate, Ts...>>) {
  return (std::is_same_v<T, Ts> || ...);
}(std::type_identity<Value>());

/// The type of the entries whose value is a `T`.
template <PoolValue T>
inline constexpr ValueType kTypeOf = []<class... Ts>(std::type_identity<std::variant<Ts...>>) {
  std::size_t index = 0;
  const bool found = ((std::is_same_v<T, Ts> || (++index, false)) || ...);
  return static_cast<ValueType>(found ? index : 0);
}(std::type_identity<Value>());

/// One entry as it stands in a pool's file. All views point into the pool's text and are valid as
/// long as the pool or a copy of it. The value has not been checked.
struct Entry {
  std::string_view key;                  ///< at most 100 characters; the rest is ignored
  std::string_view type_name;            ///< as it stands in the file; empty if there is none
  std::string_view text;                 ///< the entry's lines from the key to the next entry or
                                         ///< comment, with their line ends and empty lines
  std::string_view comment_text;         ///< the comment lines right above it, with "#"
  std::size_t line = 0;                  ///< line of the key, from 1
  ValueType type = ValueType::kUnknown;  ///< the type that has this name
  bool is_repeated = false;              ///< an entry before it has this key, and is the one that
                                         ///< counts
};

/// The content of a pool's file when it was opened. The time for opening is linear in the size of
/// the file; the time for a look-up by key does not depend on it. Values are parsed when they are
/// read. A pool never changes. Copies share its content and are cheap, and several threads may use
/// one pool at the same time.
class QM_API Pool {
 public:
  /// Makes a pool without entries.
  Pool();
  /// Reads the file, which is closed again before this returns.
  /// @throws PoolError if the path is not a regular file or cannot be read
  [[nodiscard]] static Pool Open(const std::string& path);
  /// Uses `text` as the content of a file. Errors call that file `name`.
  [[nodiscard]] static Pool FromText(std::string text, std::string name = "");

  /// The path or name of the file.
  [[nodiscard]] const std::string& Path() const noexcept;
  /// The whole content of the file, byte for byte.
  [[nodiscard]] std::string_view Text() const noexcept;
  /// All entries in the order of the file, including repeated ones.
  [[nodiscard]] std::span<const Entry> Entries() const noexcept;

  /// Returns the first entry of this key, which is the one that counts, or null if there is none.
  [[nodiscard]] const Entry* Find(std::string_view key) const noexcept;
  /// Whether there is an entry of this key.
  [[nodiscard]] bool Has(std::string_view key) const noexcept { return Find(key) != nullptr; }

  /// Returns the value of the entry of this key.
  /// @throws PoolError of the class kPoolKeyNotFound; kPoolWrongType if the entry is not of the
  ///   type of T; kPoolInvalidValue, kPoolOutOfBounds or kPool if its text is not a value of that
  ///   type
  template <PoolValue T>
  [[nodiscard]] T Get(std::string_view key) const {
    return std::get<T>(Get(key, kTypeOf<T>));
  }
  /// Returns the value of the entry of this key, of any type. Throws as above.
  [[nodiscard]] Value Get(std::string_view key) const;
  /// Returns the value of the entry of this key, which must have this type. Throws as above.
  [[nodiscard]] Value Get(std::string_view key, ValueType type) const;
  /// Returns the value of one of Entries(), which may be a repeated one.
  /// @throws PoolError as above, and kPoolWrongType for an entry of unknown type
  [[nodiscard]] Value Parse(const Entry& entry) const;
  /// Returns the comment lines above one of Entries(), without "#" and line end.
  [[nodiscard]] std::vector<std::string> CommentsOf(const Entry& entry) const;

 private:
  struct Content;
  explicit Pool(std::shared_ptr<const Content> content) noexcept : content_(std::move(content)) {}

  std::shared_ptr<const Content> content_;
};

/// Collects new and changed entries, and writes them into a pool's file or makes a new file from
/// them. Only one thread at a time may use an editor.
class QM_API PoolEditor {
 public:
  /// Makes an editor without entries.
  PoolEditor();
  /// Copies the collected entries.
  PoolEditor(const PoolEditor& other);
  /// Takes over the entries. `other` may then only be assigned to or destroyed.
  PoolEditor(PoolEditor&& other) noexcept;
  /// Replaces the collected entries by copies.
  PoolEditor& operator=(const PoolEditor& other);
  /// Replaces the collected entries by those of `other`, which may then only be assigned to or
  /// destroyed.
  PoolEditor& operator=(PoolEditor&& other) noexcept;
  ~PoolEditor();

  /// Collects an entry. It takes the place of an entry of the same key that was collected before.
  /// `comments` are written above it, one line each, after a "#". They do not replace comments that
  /// already stand above the entry in a file.
  /// @throws PoolError if the entry could not be read back: its key is empty, begins with "#",
  ///   contains a blank or a line end, or is longer than 100 characters; a text contains a line end
  ///   or a NUL; a line is longer than 1024 characters; a number is not finite; indices of a vector
  ///   or matrix exceed 32 bits; a matrix does not have rows x columns values; the value is that
  ///   of an unknown type
  PoolEditor& Set(std::string_view key, Value value, std::vector<std::string> comments = {});
  /// As above. T determines the type of the entry.
  template <PoolValue T>
  PoolEditor& Set(std::string_view key, T value, std::vector<std::string> comments = {}) {
    return Set(key, Value(std::in_place_type<T>, std::move(value)), std::move(comments));
  }
  /// As above, for a text.
  PoolEditor& Set(std::string_view key, const char* text, std::vector<std::string> comments = {}) {
    return Set(key, Value(std::in_place_type<std::string>, text), std::move(comments));
  }
  /// Drops a collected entry; returns false if there is none of this key. Changes no file.
  bool Discard(std::string_view key);
  /// The number of collected entries.
  [[nodiscard]] std::size_t Size() const noexcept;

  /// Writes the collected entries into the pool file at `path`, which must exist. They replace
  /// entries of the same keys in place; the others are appended. Everything else stays byte for
  /// byte the same, and the file keeps its inode, owner and permissions. At every moment the file
  /// or a copy beside it is complete. Several processes that update one file take turns. The
  /// entries stay collected.
  /// @throws PoolError, whose log lines say what the file contains afterwards
  void Update(const std::string& path) const;
  /// Returns the text of a pool file with the collected entries.
  [[nodiscard]] std::string Text() const;
  /// Writes Text() to `path`, completely or not at all. Replaces an existing file.
  /// @throws PoolError if the file cannot be written
  void Write(const std::string& path) const;

 private:
  struct Entries;
  std::unique_ptr<Entries> entries_;
};

}  // namespace quellmark
