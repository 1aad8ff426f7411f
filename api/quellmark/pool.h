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

/// The type of an entry; the numbers and the names in the files are part of the format.
enum class ValueType : std::uint8_t {
  kUnknown,              ///< "UNKNOWN", and every name that is not in this list
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

/// The name by which a type stands in a file, as it stands beside it above.
[[nodiscard]] QM_API std::string_view NameOf(ValueType type) noexcept;
/// The type of that very name; kUnknown for any other text.
[[nodiscard]] QM_API ValueType TypeFromName(std::string_view name) noexcept;

/// Two values of one type.
template <class T>
struct Pair {
  T first{};   ///< the first one in the line
  T second{};  ///< the second one in the line
  /// Whether both are equal.
  friend bool operator==(const Pair&, const Pair&) = default;
};

/// A value with an index.
template <class T>
struct Indexed {
  std::int32_t index = 0;  ///< any number
  T value{};               ///< what stands under it
  /// Whether both are equal.
  friend bool operator==(const Indexed&, const Indexed&) = default;
};

/// A vector as pools have them: with the index of its first element, which may be any number.
template <class T>
struct Vector {
  std::int32_t first_index = 1;  ///< of values[0]
  std::vector<T> values{};       ///< in the order of the indices
  /// Whether indices and values are equal.
  friend bool operator==(const Vector&, const Vector&) = default;
};

/// A matrix as pools have them: with the indices of its first row and column.
template <class T>
struct Matrix {
  std::int32_t first_row = 1;     ///< index of the first row
  std::int32_t rows = 0;          ///< how many there are
  std::int32_t first_column = 1;  ///< index of the first column
  std::int32_t columns = 0;       ///< how many there are
  std::vector<T> values{};        ///< rows x columns elements, row by row
  /// Whether indices and values are equal.
  friend bool operator==(const Matrix&, const Matrix&) = default;
};

/// The value of an entry. The alternatives stand in the order of ValueType, so that index() is the
/// number of the type; an entry of unknown type has no value.
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

/// The type of an entry that holds `value`.
[[nodiscard]] inline ValueType TypeOf(const Value& value) noexcept {
  return static_cast<ValueType>(value.index());
}

/// A `T` is the value of some type of entry.
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

/// One entry of a pool's file as it was found there. All views are into the pool's text: they live
/// as long as the pool or a copy of it. Nothing about its value has been checked.
struct Entry {
  std::string_view key;                  ///< its first 100 characters, which are what counts
  std::string_view type_name;            ///< as it stands there; empty if there is none
  std::string_view text;                 ///< the entry's lines from the key to the next entry or
                                         ///< comment, with their line ends and empty lines
  std::string_view comment_text;         ///< the comment lines just above it, with their "#"
  std::size_t line = 0;                  ///< of the key, from 1
  ValueType type = ValueType::kUnknown;  ///< what the type's name means
  bool is_repeated = false;              ///< an entry before it has this key, and is the one that
                                         ///< counts
};

/// The content of a pool's file at the moment when it was opened. Opening is one pass over the
/// file, in time linear in its size; a look-up by key takes the same time in every pool. Values are
/// parsed when they are asked for. A pool never changes: copies share its content and are cheap,
/// and several threads may use one pool at once.
class QM_API Pool {
 public:
  /// A pool without entries.
  Pool();
  /// Opens the file for reading alone; it is closed again when this returns.
  /// @throws PoolError for a path that leads to no regular file that can be read
  [[nodiscard]] static Pool Open(const std::string& path);
  /// Takes `text` as the content of a file; errors will name it as `name`.
  [[nodiscard]] static Pool FromText(std::string text, std::string name = "");

  /// The path or name it was opened with.
  [[nodiscard]] const std::string& Path() const noexcept;
  /// The whole content of the file, byte for byte.
  [[nodiscard]] std::string_view Text() const noexcept;
  /// All entries in the order of the file, the repeated ones too.
  [[nodiscard]] std::span<const Entry> Entries() const noexcept;

  /// The entry of that key that counts, which is the first one; null if there is none.
  [[nodiscard]] const Entry* Find(std::string_view key) const noexcept;
  /// Whether there is an entry of that key.
  [[nodiscard]] bool Has(std::string_view key) const noexcept { return Find(key) != nullptr; }

  /// The value of the entry of that key.
  /// @throws PoolError of the class kPoolKeyNotFound, kPoolWrongType when the entry is of another
  ///   type than T, kPoolInvalidValue, kPoolOutOfBounds or kPool when its text is no such value
  template <PoolValue T>
  [[nodiscard]] T Get(std::string_view key) const {
    return std::get<T>(Get(key, kTypeOf<T>));
  }
  /// The value of the entry of that key, of whatever type it is; errors as above.
  [[nodiscard]] Value Get(std::string_view key) const;
  /// The value of the entry of that key, which must be of that type; errors as above.
  [[nodiscard]] Value Get(std::string_view key, ValueType type) const;
  /// The value of one of Entries(), also of a repeated one.
  /// @throws PoolError as above, and kPoolWrongType for an entry of unknown type
  [[nodiscard]] Value Parse(const Entry& entry) const;
  /// The comments above one of Entries(), line by line, without "#" and line end.
  [[nodiscard]] std::vector<std::string> CommentsOf(const Entry& entry) const;

 private:
  struct Content;
  explicit Pool(std::shared_ptr<const Content> content) noexcept : content_(std::move(content)) {}

  std::shared_ptr<const Content> content_;
};

/// Collects new and changed entries and writes them into a pool's file, or makes a new one of them.
/// One editor belongs to one thread at a time.
class QM_API PoolEditor {
 public:
  /// Nothing is collected.
  PoolEditor();
  /// Collects the same entries.
  PoolEditor(const PoolEditor& other);
  /// Takes the entries over; `other` can then be assigned to or destroyed, nothing else.
  PoolEditor(PoolEditor&& other) noexcept;
  /// Collects the same entries instead of its own.
  PoolEditor& operator=(const PoolEditor& other);
  /// Takes the entries over, as above.
  PoolEditor& operator=(PoolEditor&& other) noexcept;
  ~PoolEditor();

  /// Collects an entry; one of the same key that was collected before is replaced where it stands.
  /// `comments` are written above it, one line each, with a "#" before each. They do not replace
  /// those that stand above the entry in a file.
  /// @throws PoolError for what could not be read back: a key that is empty, begins with "#", holds
  ///   a blank or a line end or is longer than 100 characters; texts with a line end or a NUL;
  ///   lines of more than 1024 characters; numbers that are not finite; vectors and matrices whose
  ///   indices are beyond 32 bits or whose size is not rows x columns; no value
  PoolEditor& Set(std::string_view key, Value value, std::vector<std::string> comments = {});
  /// As above; T decides the type of the entry.
  template <PoolValue T>
  PoolEditor& Set(std::string_view key, T value, std::vector<std::string> comments = {}) {
    return Set(key, Value(std::in_place_type<T>, std::move(value)), std::move(comments));
  }
  /// As above, for a text.
  PoolEditor& Set(std::string_view key, const char* text, std::vector<std::string> comments = {}) {
    return Set(key, Value(std::in_place_type<std::string>, text), std::move(comments));
  }
  /// Takes a collected entry back; false if there is none of that key. Files are not touched.
  bool Discard(std::string_view key);
  /// How many entries are collected.
  [[nodiscard]] std::size_t Size() const noexcept;

  /// Writes the collected entries into the pool file at `path`, which must exist: entries of the
  /// same keys are replaced where they stand, the others are appended, everything else stays byte
  /// for byte as it is. The file keeps its inode, owner and permissions; at every moment either it
  /// or a copy beside it holds all that was in it. Updates of one file by several processes take
  /// turns. The entries stay collected.
  /// @throws PoolError; what the file holds afterwards is told by the log lines
  void Update(const std::string& path) const;
  /// The text of a pool file of the collected entries.
  [[nodiscard]] std::string Text() const;
  /// Writes Text() to `path`, whole or not at all; a file that stands there is replaced.
  /// @throws PoolError if it can not be written
  void Write(const std::string& path) const;

 private:
  struct Entries;
  std::unique_ptr<Entries> entries_;
};

}  // namespace quellmark
