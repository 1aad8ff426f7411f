#include "dem/mem_mgr.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "basic/errors.h"
#include "tests/dem/test_dem.h"
#include "tests/support/expect_fails.h"

namespace quellmark::test {
namespace {

using ::testing::HasSubstr;

class MemMgr : public ::testing::Test {
 protected:
  // Writes the bytes and returns the path.
  std::string File(const std::string& bytes) {
    WriteFile(directory_ / "image.srf", bytes);
    return directory_ / "image.srf";
  }

  TempDir directory_;
  MEM_MGR memory_;
};

TEST_F(MemMgr, MapsPixelsBehindTheColourTable) {
  const std::string colours = std::string(256, 'r') + std::string(256, 'g') + std::string(256, 'b');
  const std::string path = File(SrfHeaderBytes(3, 2, 1, 768) + colours + "abcdefABCDEF" + "tail");
  ScopedLog log;
  EXPECT_EQ(memory_.MapSrf(path, O_RDONLY), 256);
  EXPECT_THAT(log.Text(), HasSubstr("DEBUG : map file with access mode 0\n"
                                    "DEBUG : map file with prot flag 1\n"));
  EXPECT_EQ(memory_.MappedLength(), 32U + 768U + 12U);
  EXPECT_EQ(memory_.XRange(), RANGE<int>(0, 3));
  EXPECT_EQ(memory_.YRange(), RANGE<int>(0, 2));
  EXPECT_EQ(memory_.Data() - memory_.FileBase(), 800);
  EXPECT_EQ(*memory_.Data(), 'a');
  const MEM_MGR::ColourTable table = memory_.Colours();
  EXPECT_EQ(table.red + 768, memory_.Data());
  EXPECT_EQ(table.green - table.red, 256);
  EXPECT_EQ(table.blue - table.green, 256);
  // The next file replaces the mapping. It has neither a colour table nor pixels.
  EXPECT_EQ(memory_.MapSrf(File(SrfHeaderBytes(0, 0, 1)), O_RDWR), 0);
  EXPECT_EQ(memory_.Colours().red, nullptr);
  EXPECT_EQ(memory_.MappedLength(), 32U);
  memory_.Release();
  EXPECT_FALSE(memory_.IsMapped());
}

TEST_F(MemMgr, RefusesWhatCanNotBeMapped) {
  const std::string nowhere = directory_ / "nowhere";
  EXPECT_FAILS(memory_.MapSrf(nowhere, O_RDONLY), ERROR_CAN_NOT_OPEN_FILE,
               "MEM_MGR: can not open: " + nowhere + "\n");
  const std::string fifo = directory_ / "fifo";
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  const std::string directory = directory_.Path();
  const std::string cut = File(SrfHeaderBytes(1, 1, 1).substr(0, 31));
  for (const std::string& path : {cut, directory, fifo, std::string("/dev/zero")}) {
    EXPECT_FAILS(memory_.MapSrf(path, O_RDONLY), ERROR_CAN_NOT_READ_FILE,
                 "MEM_MGR: can not read header from: " + path + "\n");
  }
  EXPECT_FAILS(memory_.MapSrf(File(SrfHeaderBytes(1, 1, 1) + "ab"), O_WRONLY),
               ERROR_CAN_NOT_READ_FILE, "MEM_MGR: can not read header from: " + cut + "\n");
  EXPECT_FAILS(memory_.MapSrf(cut, O_RDONLY, 4), ERROR_NOT_SUPPORTED_PIXEL_TYPE,
               "MEM_MGR: unknown pixeltype\n");
}

TEST_F(MemMgr, RefusesSizesThatTheFileDoesNotHave) {
  constexpr std::uint32_t kHuge = 0xFFFFFFFF;
  const std::string headers[] = {
      SrfHeaderBytes(3, 2, 1),          SrfHeaderBytes(kHuge, kHuge, 1),
      SrfHeaderBytes(0x80000000, 2, 1), SrfHeaderBytes(kHuge, 0, 1),
      SrfHeaderBytes(1, 1, 1, 768),     SrfHeaderBytes(1, 1, 1, kHuge),
  };
  for (const std::string& header : headers) {
    memory_.MapSrf(File(SrfHeaderBytes(0, 0, 1)), O_RDONLY);  // the failure below releases it
    const std::string log = LogOfFailure<ERROR_CAN_NOT_MMAP>(
        [&] { memory_.MapSrf(File(header + std::string(11, 'x')), O_RDONLY); });
    EXPECT_THAT(log, HasSubstr("ALARM : MEM_MGR: mmap: mmap failed..\nALARM : MEM_MGR: "));
    EXPECT_FALSE(memory_.IsMapped());
  }
}

}  // namespace
}  // namespace quellmark::test
