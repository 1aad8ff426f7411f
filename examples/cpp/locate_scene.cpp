// Locates a scene and prints the 23 results of the batch step as a table. Changes no file.
#include <cstdio>
#include <exception>

#include <quellmark/scene.h>

int main(int argc, char** argv) try {
  if (argc != 2) {
    std::fprintf(stderr, "usage: locate_scene SCENE_POOL\n");
    return 2;
  }
  const quellmark::Scene scene = quellmark::Scene::Open(argv[1]);
  const quellmark::SceneResults results = scene.Results();
  std::printf("key,value\n");
  for (const quellmark::ResultField& field : quellmark::kResultFields) {
    std::printf("%s,%.17g\n", field.key.data(), results.*field.value);
  }
} catch (const std::exception& error) {
  std::fprintf(stderr, "%s\n", error.what());
  return 1;
}
