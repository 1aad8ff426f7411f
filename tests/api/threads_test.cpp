// Eight threads use one scene, orbit, pool and DEM at the same time.
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "tests/dem/test_dem.h"
#include <quellmark/error.h>
#include <quellmark/log.h>
#include <quellmark/pool.h>
#include <quellmark/scene.h>

namespace quellmark {
namespace {

// Returns the answers of the library to all kinds of queries as one list of numbers.
std::vector<double> AskAll(const Scene& scene, const Pool& pool, const Dem& dem) {
  std::vector<double> answers;
  const SceneResults results = scene.Results();
  for (const ResultField& field : kResultFields) answers.push_back(results.*field.value);
  for (int i = 0; i < 20; ++i) {
    answers.push_back(scene.Locate(100.0 * i, 50.0 * i).latitude_deg);
    answers.push_back(scene.SensorOrbit().StateAt(scene.AzimuthTimeOf(i)).velocity_ms[1]);
    answers.push_back(dem.HeightAt(7.1 + 0.01 * i, 50.2 + 0.01 * i));
    answers.push_back(pool.Get<double>("prf"));
    answers.push_back(SecondsFromUtc(scene.SensorOrbit().TextOf(i)));
    try {
      static_cast<void>(pool.Get<double>("thread_" + std::to_string(i)));
    } catch (const PoolError& error) {
      answers.push_back(static_cast<double>(error.LogLines().size()));
    }
  }
  std::vector<double> longitude(60 * 40);
  scene.ImageToGround({.sample_step = 300, .samples = 60, .line_step = 200, .lines = 40},
                      {.longitude_deg = longitude}, {.threads = 2});
  answers.insert(answers.end(), longitude.begin(), longitude.end());
  return answers;
}

TEST(Threads, ShareWhatTheyAsk) {
  const test::TempDir directory;
  test::TestDem terrain;
  terrain.resolution_arcsec = 36.0;
  terrain.lat_resolution_arcsec = 36.0;
  terrain.tiles = {{700, 5100, 750, 5000}, {751, 5100, 800, 5000}};
  const Dem dem = Dem::Open(test::WriteDem(directory, terrain));
  const std::string path = QM_SCENES "/s1b_iw_grd_alps.pool";
  const Scene scene = Scene::Open(path);
  const Pool pool = Pool::Open(path);
  const std::vector<double> expected = AskAll(scene, pool, dem);

  std::atomic<int> lines = 0;
  SetLogSink([&lines](LogLevel, std::string_view) { ++lines; }, LogLevel::kAlarm);
  std::atomic<int> right = 0;
  constexpr int kThreads = 8;
  constexpr int kRounds = 3;
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&, i] {
      for (int round = 0; round < kRounds; ++round) {
        // Half of the threads open their own objects at the same time.
        const Scene mine = i % 2 == 0 ? scene : Scene::Open(path);
        right += AskAll(mine, pool, dem) == expected ? 1 : 0;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  SetLogSink({});
  EXPECT_EQ(right, kThreads * kRounds);
  EXPECT_EQ(lines, 20 * kThreads * kRounds);  // one alarm for each missing key
}

}  // namespace
}  // namespace quellmark
