// DTS links of the demo experiment and of the odd rows loaded beside it,
// read from the private PostgreSQL cluster through the real library.
#include <gtest/gtest.h>

#include <string>

#include "link_calls.h"

namespace tovak::testing {
namespace {

constexpr char kOdd[] = "O'Brien\"; DROP TABLE site; --\\";  // a diagnostic of site "odd"

struct Case {
  Channel channel;  // without a server: site "ubo", through INDEXSERVERNAME
  int status;
  std::string outputs;
};

template <class Lookup>
void Check(Lookup lookup, std::initializer_list<Case> cases) {
  setTovakProtocolV1();
  for (const Case& c : cases) {
    int status = 1;
    EXPECT_EQ(lookup(c.channel, &status), c.outputs) << c.channel.diag << c.channel.key2;
    EXPECT_EQ(status, c.status) << c.channel.diag << c.channel.key2;
  }
}

TEST(LinkDemoDbTest, DecodedLinks) {
  const std::string defaultsOnly = "-|-|-|-9|-9|-9|-9|-|0|1|0|-|";
  Check(
      Infox,
      {
          // From shot 120050 the Magnetics records are longer, with more pre-samples.
          {{"Magnetics", 120100, 1, 1, 3},
           0,
           "FPGA-DTS|fdts01|DMODSS0|7|1|1|2000000|External|1000|1|0|-|"},
          {{"Magnetics", 120049, 1, 2, 8},
           0,
           "FPGA-DTS|fdts01|DMODSS0|7|1|1|1500000|External|500|1|0|-|"},
          // ECE is clocked by the CAMAC unit cdts01, identifier 31.
          {{"ECE", 120100, 1, 1, 5, "/ubo"},
           0,
           "VME|vdts01|DMOD0|1|3|1|100000|External|2000|1|31|DMOD0|"},
          // Bolometer sub-shot 2: no internal clock, set by its sampling interval.
          {{"Bolometer", 120100, 2, 1, 4},
           0,
           "FPGA-DTS|fdts01|DMODSS0|0|2|0|25000|Internal|100|20000|0|-|"},
          {{"Spectroscopy", 120100, 1, 1, 1},
           TOVAK_E_NOT_SUPPORTED,
           "VME|vdts01|DMOD1|0|3|0|1|Internal|0|1|0|-|"},
          {{"Magnetics", 120100, 1, 1, 2, "/TSU"},
           0,
           "CAMAC|cdts01|DMOD0|0|3|500000|250000|Internal|50|1|0|-|"},
          // Blanks, numbers that are not numbers, NULL cells, texts longer than
          // the working buffers, negative keys and sub-shot.
          {{kOdd, 5, 1, 1, 1, "/odd"}, 0, "FPGA-DTS|unit A|mod\\1|12|4464|-5|0|External|7|1|0|-|"},
          {{kOdd, 5, 1, 1, 2, "/odd"}, 0, "UserDefined|||0|0|0|0||0|1|0|-|"},
          {{kOdd, 5, 1, 1, 5, "/odd"},
           0,
           "UserDefined|" + std::string(300, 'u') + "|DMOD0|1|3|0|1|Internal|0|1|0|-|"},
          {{kOdd, 5, -1, 1, 1, "/odd"},
           0,
           "CAMAC-DTS|sub-shot minus one|DMOD0|1|3|0|1|Internal|0|1|0|-|"},
          {{"Magnetics", 120100, 1, 1, 9}, TOVAK_E_NO_DTS_INFO, defaultsOnly},
          {{"Magnetics", 120100, 1, 1, 1, "/nosite"}, TOVAK_E_INDEX_OPEN, defaultsOnly},
      });
}

TEST(LinkDemoDbTest, RawTextLinks) {
  Check(InfoClk,
        {
            {{"Langmuir", 120100, 1, 1, 2},
             0,
             "VME|vdts01|DMOD0|CLK_OUT|4|10|1000000|External|100|-|-|-|-|"},
            {{"ECE", 120100, 1, 1, 1},
             0,
             "VME|vdts01|DMOD0|1|3|1|100000|External|2000|-|CAMAC|cdts01|DMOD0|"},
            {{kOdd, 5, 1, 1, 3, "/odd"},
             TOVAK_E_NOT_SUPPORTED,
             "VME|vdts01|DMOD0|CLK_OUT|3|100|10|external|5|-|VME-DTS|m1|CLK2|"},
            {{"Magnetics", 120100, 1, 1, 9}, TOVAK_E_NO_DTS_INFO, "-|-|-|-|-|-9|-9|-|-|-|-|-|-|"},
        });
}

}  // namespace
}  // namespace tovak::testing
