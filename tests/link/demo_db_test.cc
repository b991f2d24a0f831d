// DTS links of the demo experiment and of the odd rows loaded beside it, read
// from the private PostgreSQL cluster through the real library.
#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "link_calls.h"

namespace tovak::testing {
namespace {

constexpr char kOdd[] = "O'Brien\"; DROP TABLE site; --\\";  // a diagnostic of site "odd"

// Without a server name the channel is read at site "ubo", named by INDEXSERVERNAME.
TEST(LinkDemoDbTest, DecodedAndRawTexts) {
  setTovakProtocolV1();
  const std::string u300(300, 'u');
  for (const auto& [channel, outputs] : std::initializer_list<std::pair<Channel, std::string>>{
           {{"ECE", 120100, 1, 1, 5, "/ubo"},
            "VME|vdts01|DMOD0|1|3|1|100000|External|2000|1|31|DMOD0|0|"},
           {{"Magnetics", 120100, 1, 1, 2, "/TSU"},
            "CAMAC|cdts01|DMOD0|0|3|500000|250000|Internal|50|1|0|-|0|"},
           // Blanks, numbers that are not numbers, NULL cells, texts longer than the working
           // buffers, negative keys and sub-shot.
           {{kOdd, 5, 1, 1, 1, "/odd"}, "FPGA-DTS|unit A|mod\\1|12|4464|-5|0|External|7|1|0|-|0|"},
           {{kOdd, 5, 1, 1, 2, "/odd"}, "UserDefined|||0|0|0|0||0|1|0|-|0|"},
           {{kOdd, 5, 1, 1, 5, "/odd"},
            "UserDefined|" + u300 + "|DMOD0|1|3|0|1|Internal|0|1|0|-|0|"},
           {{kOdd, 5, -1, 1, 1, "/odd"},
            "CAMAC-DTS|sub-shot minus one|DMOD0|1|3|0|1|Internal|0|1|0|-|0|"},
           {{"Magnetics", 120100, 1, 1, 9}, "-|-|-|-9|-9|-9|-9|-|0|1|0|-|-54|"},
           {{"Magnetics", 120100, 1, 1, 1, "/nosite"}, "-|-|-|-9|-9|-9|-9|-|0|1|0|-|-102|"}}) {
    EXPECT_EQ(Infox(channel), outputs);
  }
  EXPECT_EQ(InfoClk({kOdd, 5, 1, 1, 3, "/odd"}),
            "VME|vdts01|DMOD0|CLK_OUT|3|100|10|external|5|-|VME-DTS|m1|CLK2|-53|");
}

}  // namespace
}  // namespace tovak::testing
