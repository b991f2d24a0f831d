// Cells the public calls must survive, read from the odd rows of the test
// cluster: texts longer than the library's buffers and numbers that are not
// numbers, in the link row, the DTS table, the module list and the channel
// settings. Each gives its documented outcome: cut, refused or converted.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "link/link_calls.h"
#include "tovak/tovak.h"

namespace tovak::testing {
namespace {

constexpr char kOdd[] = "O'Brien\"; DROP TABLE site; --\\";  // a diagnostic of site "odd"

TEST(OddCellsTest, LinkRow) {
  setTovakProtocolV1();
  const std::string mCut(TOVAK_TEXT_BUFFER_SIZE - 1, 'm'), digits70(70, '7'), n70(70, 'n'),
      w80(80, 'w');
  // Numbers read as far as they are numbers (70 digits: the 16-bit cut of the
  // largest long); option values that are no numbers give 0; a clock unit name
  // too long to hold is not looked up; texts reach the caller's buffers whole,
  // up to what the buffers hold.
  EXPECT_EQ(Infox({kOdd, 5, 1, 1, 6, "/odd"}),
            "FPGA-DTS|fdts01|" + mCut + "|-1|1|0|12|External|0|12|0|" + w80 + "|0|");
  EXPECT_EQ(InfoClk({kOdd, 5, 1, 1, 6, "/odd"}), "FPGA-DTS|fdts01|" + mCut + "|" + digits70 +
                                                     "|1x|0|12|External|abc|12x|CAMAC|" + n70 +
                                                     "|" + w80 + "|0|");
}

TEST(OddCellsTest, HostNameInParameterRecords) {
  setTovakProtocolV1();
  // A host name of 300 characters: 255 in the list, then cut to each record's width.
  static char names[41][64], values[41][128], wide[41][300];
  int tags[41];
  ASSERT_EQ(tovakGetDTSParameters(nullptr, "odd'unit;\\", "DMODSS12", 5, 1, 1, 41, names, values,
                                  tags, true),
            0);
  EXPECT_EQ(std::string(names[16]) + " " + values[16], "HostName " + std::string(127, 'h'));
  ASSERT_EQ(tovakGetDTSParameters2_s(nullptr, "odd'unit;\\", "DMODSS12", 5, 1, 1, 41, names, 64,
                                     wide, 300, tags),
            0);
  EXPECT_EQ(std::string(wide[16]), std::string(255, 'h'));
}

TEST(OddCellsTest, ModuleKeysAndChannelSettings) {
  DTSmodule* modules = nullptr;
  int count = 0;
  ASSERT_EQ(tovakGetDTSdiagShot("/odd", kOdd, 5, 1, &modules, &count, 1), 0);
  ASSERT_EQ(count, 2);
  EXPECT_EQ(std::string(modules[1].key1), std::string(63, 'k'));  // of 100
  delete[] modules;
  // Floating-point cells holding no finite number pass on as strtod reads them.
  DTSchSettings* channels = nullptr;
  ASSERT_EQ(tovakGetDTSchSettings("/odd", "key'1;", "key\\2", 5, 1, &channels, &count, 1), 0);
  ASSERT_EQ(count, 2);
  EXPECT_TRUE(std::isnan(channels[1].column1));
  EXPECT_EQ(channels[1].column2, -INFINITY);
  EXPECT_EQ(channels[1].column3, INFINITY);
  delete[] channels;
}

}  // namespace
}  // namespace tovak::testing
