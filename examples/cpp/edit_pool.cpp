// Lists the entries of a pool with their faults, and writes a file of a few entries.
#include <cstdio>
#include <string>

#include <quellmark/error.h>
#include <quellmark/pool.h>

int main(int argc, char** argv) try {
  if (argc != 3) {
    std::fprintf(stderr, "usage: edit_pool POOL NEW_POOL\n");
    return 2;
  }
  const quellmark::Pool pool = quellmark::Pool::Open(argv[1]);
  int faults = 0;
  for (const quellmark::Entry& entry : pool.Entries()) {
    try {
      static_cast<void>(pool.Parse(entry));
    } catch (const quellmark::PoolError& error) {
      std::printf("line %zu: %s\n", error.Line(), error.what());
      ++faults;
    }
  }
  std::printf("%zu entries, %d of them faulty\n", pool.Entries().size(), faults);

  quellmark::PoolEditor editor;
  editor.Set("prf", 2.0 * pool.Get<double>("prf"), {" twice that of " + pool.Path()});
  editor.Set("antenna_look_direction", "left");
  editor.Set("gains", quellmark::Vector<float>{.first_index = 1, .values = {0.5F, 1.5F}});
  editor.Write(argv[2]);
  std::printf("prf is now %g Hz\n", quellmark::Pool::Open(argv[2]).Get<double>("prf"));
} catch (const quellmark::Error& error) {
  std::fprintf(stderr, "%s\n", error.what());
  for (const std::string& line : error.LogLines()) std::fprintf(stderr, "  %s\n", line.c_str());
  return 1;
}
