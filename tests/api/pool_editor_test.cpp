// Tests the writing of pools: every type is written and read back, and updates keep everything
// else.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <filesystem>
#include <limits>
#include <string>

#include "tests/support/files.h"
#include <quellmark/error.h>
#include <quellmark/pool.h>

namespace quellmark {
namespace {

using test::ReadFile;
using test::TempDir;
using test::WriteFile;

// Makes a value of each type. The parts of complex values and pairs are written with only as many
// digits as the names of their types say, so these values have no more digits.
void FillWithAllTypes(std::vector<Value>& values) {
  const std::string text = "a \"quoted\" \\ text";
  const auto scalar_and_vector = [&](const auto& a, const auto& b) {
    values.push_back(a);
    values.push_back(Vector<std::decay_t<decltype(a)>>{-3, {a, b}});
  };
  const auto with_matrix = [&](const auto& a, const auto& b) {
    scalar_and_vector(a, b);
    values.push_back(Matrix<std::decay_t<decltype(a)>>{0, 2, 5, 3, {a, b, b, b, a, a}});
  };
  scalar_and_vector(true, false);
  with_matrix(std::uint8_t{255}, std::uint8_t{0});
  with_matrix(std::int8_t{-128}, std::int8_t{127});
  with_matrix(std::int16_t{-32768}, std::int16_t{32767});
  with_matrix(std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max());
  scalar_and_vector(std::numeric_limits<std::int64_t>::min(),
                    std::numeric_limits<std::int64_t>::max());
  with_matrix(std::numeric_limits<float>::max(), 0.1F);
  with_matrix(std::numeric_limits<double>::denorm_min(), -1.0 / 3.0);
  with_matrix(text, std::string());
  with_matrix(std::complex<float>(1.5F, -2.25F), std::complex<float>());
  with_matrix(std::complex<double>(1e300, -0.5), std::complex<double>());
  scalar_and_vector(Pair<std::int32_t>{1, -2}, Pair<std::int32_t>{});
  scalar_and_vector(Pair<std::int64_t>{1LL << 60, -2}, Pair<std::int64_t>{});
  scalar_and_vector(Pair<float>{0.5F, -2}, Pair<float>{});
  scalar_and_vector(Pair<double>{0.5, -2e-30}, Pair<double>{});
  scalar_and_vector(Indexed<std::int32_t>{7, -8}, Indexed<std::int32_t>{});
  scalar_and_vector(Indexed<float>{7, -0.25F}, Indexed<float>{});
  scalar_and_vector(Indexed<double>{-7, 0.125}, Indexed<double>{});
  scalar_and_vector(Pair<std::string>{text, ""}, Pair<std::string>{});
}

TEST(PoolEditor, EveryTypeIsReadBackAsItWasSet) {
  std::vector<Value> values;
  FillWithAllTypes(values);
  ASSERT_EQ(values.size(), std::variant_size_v<Value> - 1);  // all types but the unknown one
  PoolEditor editor;
  for (const Value& value : values) editor.Set(NameOf(TypeOf(value)), value, {"of its type"});
  const Pool pool = Pool::FromText(editor.Text());
  for (const Value& value : values) {
    SCOPED_TRACE(NameOf(TypeOf(value)));
    const Entry* entry = pool.Find(NameOf(TypeOf(value)));
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(entry->type, TypeOf(value));
    EXPECT_TRUE(pool.Parse(*entry) == value);
    EXPECT_EQ(pool.CommentsOf(*entry), std::vector<std::string>{"of its type"});
  }
}

TEST(PoolEditor, RefusesWhatCouldNotBeReadBack) {
  PoolEditor editor;
  const auto nan = std::numeric_limits<double>::quiet_NaN();
  const auto refused = [&](std::string_view key, Value value, std::vector<std::string> comments) {
    try {
      editor.Set(key, std::move(value), std::move(comments));
      ADD_FAILURE() << key;
      return ErrorClass::kError;
    } catch (const PoolError& error) {
      EXPECT_EQ(error.Key(), key);
      return error.Class();
    }
  };
  using enum ErrorClass;
  EXPECT_EQ(refused("", 1.0, {}), kPoolInvalidValue);
  EXPECT_EQ(refused("#a", 1.0, {}), kPoolInvalidValue);
  EXPECT_EQ(refused("a b", 1.0, {}), kPoolInvalidValue);
  EXPECT_EQ(refused(std::string(101, 'k'), 1.0, {}), kPoolKeyTooLong);
  EXPECT_EQ(refused("k", nan, {}), kPoolInvalidValue);
  EXPECT_EQ(refused("k", Value(), {}), kPoolWrongType);
  EXPECT_EQ(refused("k", std::string("two\nlines"), {}), kPoolInvalidValue);
  EXPECT_EQ(refused("k", std::string(1100, 'x'), {}), kPoolInvalidValue);
  EXPECT_EQ(refused("k", 1.0, {"two\nlines"}), kPoolInvalidValue);
  EXPECT_EQ(refused("k", Vector<double>{std::numeric_limits<std::int32_t>::max(), {1, 2}}, {}),
            kPoolInvalidValue);
  EXPECT_EQ(refused("k", Matrix<double>{1, 2, 1, 2, {1, 2, 3}}, {}), kPoolInvalidValue);
  EXPECT_EQ(refused("k", Matrix<double>{1, -1, 1, -1, {1}}, {}), kPoolInvalidValue);
  EXPECT_EQ(editor.Size(), 0U);
}

TEST(PoolEditor, CollectsEachKeyOnce) {
  PoolEditor editor;
  editor.Set("a", 1).Set("b", 2).Set("c", "three").Set("a", true);
  EXPECT_TRUE(editor.Discard("b"));
  EXPECT_FALSE(editor.Discard("b"));
  const PoolEditor copy = editor;
  editor.Set("c", 3.0);
  const Pool pool = Pool::FromText(editor.Text());
  ASSERT_EQ(pool.Entries().size(), 2U);
  EXPECT_EQ(pool.Entries()[0].key, "a");
  EXPECT_TRUE(pool.Get<bool>("a"));
  EXPECT_EQ(pool.Get<double>("c"), 3.0);
  EXPECT_EQ(Pool::FromText(copy.Text()).Get<std::string>("c"), "three");
}

TEST(PoolEditor, UpdateKeepsTheFileAndAllElseInIt) {
  const TempDir directory;
  const std::string path = directory / "scene.pool";
  WriteFile(path, "# top\nprf FLT_15 1.0\n\n# next\nname STR \"x\"\nfree text\n");
  ASSERT_EQ(::chmod(path.c_str(), 0640), 0);
  struct stat before {};
  ASSERT_EQ(::stat(path.c_str(), &before), 0);
  PoolEditor editor;
  editor.Set("prf", 2.0).Set("new", Vector<float>{0, {1.0F}});
  editor.Update(path);
  const std::string text = ReadFile(path);
  EXPECT_TRUE(text.starts_with("# top\nprf"));
  EXPECT_NE(text.find("\n# next\nname STR \"x\"\nfree text\n"), std::string::npos);
  const Pool pool = Pool::Open(path);
  EXPECT_EQ(pool.Get<double>("prf"), 2.0);
  EXPECT_EQ(pool.Get<Vector<float>>("new"), (Vector<float>{0, {1.0F}}));
  struct stat after {};
  ASSERT_EQ(::stat(path.c_str(), &after), 0);
  EXPECT_EQ(after.st_ino, before.st_ino);
  EXPECT_EQ(after.st_mode, before.st_mode);

  EXPECT_THROW(editor.Update(directory / "missing"), PoolError);
  EXPECT_FALSE(std::filesystem::exists(directory / "missing"));
}

TEST(PoolEditor, WritesAFileWholeOrNotAtAll) {
  const TempDir directory;
  const std::string path = directory / "new.pool";
  PoolEditor editor;
  editor.Set("a", 1.0);
  editor.Write(path);
  EXPECT_EQ(ReadFile(path), editor.Text());
  ASSERT_EQ(::chmod(path.c_str(), 0604), 0);
  editor.Set("a", 2.0);
  editor.Write(path);
  struct stat status {};
  ASSERT_EQ(::stat(path.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0604U);

  std::filesystem::create_directory(directory / "sub");
  EXPECT_THROW(editor.Write(directory / "sub"), PoolError);
  EXPECT_THROW(editor.Write(directory / "none/x.pool"), PoolError);
  // If the disk fills up during the update, the old file is left and nothing beside it.
  rlimit limit{};
  ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &limit), 0);
  const auto old_handler = ::signal(SIGXFSZ, SIG_IGN);
  const rlimit small{100, limit.rlim_max};
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
  editor.Set("b", Vector<double>{1, std::vector<double>(100, 0.5)});
  EXPECT_THROW(editor.Write(path), PoolError);
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
  ::signal(SIGXFSZ, old_handler);
  EXPECT_EQ(Pool::Open(path).Get<double>("a"), 2.0);
  int files = 0;
  for ([[maybe_unused]] const auto& file : std::filesystem::directory_iterator(directory.Path())) {
    ++files;
  }
  EXPECT_EQ(files, 2);
}

}  // namespace
}  // namespace quellmark
