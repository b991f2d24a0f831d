// The databases for real: every query over the demo experiment and the odd rows of odd_data.sql
// (SQL punctuation, blanks, negative keys, numbers that are not); refused connections.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>

#include "tovak/rdb.h"
#include "tovak/tovak.h"

namespace tovak::testing {
namespace {

constexpr char kPassword[] = "19981107quorblex3";
constexpr unsigned kMinus1 = static_cast<unsigned>(-1);  // a 16-bit -1 as the lookups pass it
const std::string kOdd = "O'Brien\"; DROP TABLE site; --\\";

// "status lines", then the given rows (all when none), cells joined by '|' without trailing empty
// ones; nothing outside the rows.
std::string Show(CRDBres* raw, std::initializer_list<int> rows = {}) {
  const std::unique_ptr<CRDBres> result(raw);
  std::string text = std::to_string(result->status) + " " + std::to_string(result->GetLines());
  for (int r = 0; r < result->GetLines(); ++r) {
    if (rows.size() != 0 && std::find(rows.begin(), rows.end(), r) == rows.end()) continue;
    std::string row;
    for (int c = 0; c < 40; ++c) row += std::string(result->GetValue(r, c)) + "|";
    text += "\n" + row.erase(row.find_last_not_of('|') + 1);
  }
  EXPECT_EQ(std::string(result->GetValue(result->GetLines(), 0)) + result->GetValue(-1, 0), "");
  return text;
}
std::string Show(const std::string& text, std::initializer_list<int> = {}) { return text; }
std::string Show(int value, std::initializer_list<int> = {}) { return std::to_string(value); }

template <class T>
std::string List(std::initializer_list<T> values) {
  std::string text;
  for (const T& value : values) text += (text.empty() ? "" : ", ") + Show(value);
  return text;
}

// "status name"; the name is a malloc'ed copy, left untouched on failure.
std::string HostName(CIndexDBComm& db, int host) {
  char* name = nullptr;
  const int status = db.get_host_name(host, &name);
  const std::string text = Show(status) + " " + (name ? name : "-");
  std::free(name);
  return text;
}

// A query of the index (d) or setup (s) database; the rows to show may follow.
#define Q(call, ...) \
  [](CIndexDBComm& d, CSetupDBComm& s) { return (void)d, (void)s, Show(call, {__VA_ARGS__}); }

struct Case {
  const char* server;  // of both databases
  std::function<std::string(CIndexDBComm&, CSetupDBComm&)> query;
  std::string want;  // a trailing "..." stands for any rest
};

// Tables laid out by hand, a case a row or two: the formatter leaves them alone.
// clang-format off
TEST(DbTest, ColumnsAndStatusesOfEveryQuery) {
  const Case cases[] = {
      // Rows by shot and sub-shot; none before the first shot or for other keys.
      {"/ubo", Q(d.get_DTS_information(101, 120100, 1, 1, 3)), "0 1\nFPGA-DTS|fdts01|DMODSS0|7|1|1|External|0|2000000|PreSample 1000"},
      {"/ubo", Q(d.get_DTS_information(102, 120100, 2, 1, 1)),
       "0 1\nFPGA-DTS|fdts01|DMODSS0|0|2|0|Internal|0|25000|PreSample 100 SampInterval 20000"},
      {"/ubo", Q(List({d.get_DTS_information(101, 119999, 1, 1, 3), d.get_DTSTBL(99, 120100, 1), d.get_DTS_information(101, 120100, 1, 3, 1),
                       d.get_DTSTBL(11, "DMODSS0", 119999, 1), d.get_DTS_parameters(120100, 1, 11, "DMOD0"),
                       d.get_DTS_parameters(120100, 1, 11, nullptr), d.get_dmod_diag_shot("mag-pxi1", "WE7275", 120100, 1),
                       s.get_dmod_diag_shot("Magnetics", 119999, 1), s.get_dmod_diag_shot("Thomson", 120100, 1)})),
       "-2 0, -2 0, -2 0, -2 0, -2 0, -2 0, -2 0, -2 0, -2 0"},
      {"/ubo", Q(List({Show(d.get_DTS_parameters(120100, 1, 11, "DMODSS0"), {0, 7}), Show(d.get_DTS_parameters(120100, 2, 11, "DMODSS0"), {1})})),
       "0 8\n1189999950|0|0|100|1|10000000|20|30\n1199499950|1000|4|20|0|10000000|20|30, 0 8\n1209999950|0|0|100|1|10000000|20|30"},
      {"/ubo", Q(d.get_DTSTBL(11, "DMODSS0", 120100, 1), 6), "0 8\n11|120050|2024-11-13 14:02:11+09||11|fdts01|DMODSS0|7|7|10000000|20|30|100|10|CLK1|"
       "Magnetics sampling clock|-1.000005|0.0000005|0.000001|1189999900|5|10|0|1|t|f||f|t|..."},
      {"/ubo", Q(d.get_DTSTBL(21, 120100, 1), 8), "0 16\n21|120000|2024-11-12 09:30:00+09||12|vdts01|DMOD1|9|1|..."},  // module 0 first
      {"/ubo", Q(List({d.get_DTS_HostID("fdts01"), d.get_DTS_HostID("vdts01"), d.get_DTS_HostID("cdts01"), d.get_DTS_HostID("FDTS01"),
                       d.get_DTS_HostID(nullptr), d.get_DTS_CAMACID("cdts01"), d.get_DTS_CAMACID("fdts01"), d.get_site_id("tsu"),
                       d.get_site_id("UBO"), d.get_diag_id("Magnetics", 2, nullptr), d.get_diag_id(nullptr, 1, nullptr),
                       d.get_diag_id("Bolometer", 2, nullptr)})), "11, 21, -1, -1, -1, 31, -1, 2, 0, 201, -1, -1"},
      {"/ubo", Q(List({HostName(d, 11), HostName(d, 77)})), "0 fdts01-ctl.ubo.example, -1 -"},
      {"/ubo", Q(List({Show(d.get_dmod_diag_shot("mag-pxi1", "PXI6143", 120100, 1), {0, 7}), Show(d.get_dmod_diag_shot("mag-pxi1", "PXI6143", 120049, 1), {0})})),
       "0 8\n1|10|0|1000000|1000|2000000|1|0\n8|10|0|1000000|1000|2000000|1|0, 0 8\n1|10|0|1000000|500|1500000|1|0"},
      {"/ubo", Q(s.get_dmod_diag_shot("Magnetics", 120100, 1)), "0 2\nmag-pxi1|PXI6143\nmag-pxi2|PXI6133"},
      {"/tsu", Q(s.get_dmod_diag_shot("Magnetics", 120100, 1)), "0 1\ntsu-we1|WE7273"},
      // Negative keys and sub-shots, blanks, empty cells.
      {"/odd", Q(d.get_DTS_information(901, 5, 1, kMinus1, kMinus1)), "0 1\nFPGA-DTS|fdts01|DMODSS0|8|3|1|External|0|1|PreSample 1"},
      {"/odd", Q(d.get_DTS_information(901, 5, kMinus1, 1, 1)), "0 1\nCAMAC-DTS|sub-shot minus one|DMOD0|1|3|1|Internal|0|1"},
      {"/odd", Q(d.get_DTS_information(901, 5, 1, 1, 1)), "0 1\n  FPGA-DTS  |  unit A  |mod\\1|12abc|70000|-5| External |7|x|foo PreSample 7..."},
      // Quotes, semicolons and backslashes reach the database as data.
      {"/odd", Q(List({d.get_site_id("odd"), d.get_diag_id(kOdd.c_str(), 9, nullptr), d.get_diag_id("plain' OR '1'='1", 9, nullptr),
                       d.get_diag_id("plain; SELECT 1", 9, nullptr), d.get_DTS_CAMACID("odd'unit;\\"), d.get_DTS_HostID("x' OR kind <> '"),
                       d.get_site_id("ubo' --")})), "9, 901, -1, -1, 91, -1, 0"},
      {"/odd", Q(d.get_dmod_diag_shot("key'1;", "key\\2", 5, 1)), "0 2\n1|0.0125|-1e+300|0|-7|2147483647|0|-1\n2|NaN|-Infinity|Infinity|0|0|0|0"},
      {"/odd", Q(s.get_dmod_diag_shot(kOdd.c_str(), 5, 1)), "0 2\nkey'1;|key\\2\n" + std::string(100, 'k') + "|PXI6143"},
      {"/odd", Q(d.get_site_id("ubo")), "1"},  // the tables are all still there
      // A statement the server refuses (no such relations) fails.
      {"/ubo::setup", Q(List({Show(d.get_DTS_information(101, 120100, 1, 1, 1)), HostName(d, 11), List({d.get_site_id("ubo"), d.get_DTS_HostID("fdts01")})})),
       "-1 0, -2 -, -1, -1"},
  };
  for (const Case& c : cases) {
    IndexSetup(c.server, nullptr);
    SetupSetup(c.server, nullptr);
    const std::string got = c.query(*CIndexDBComm::getInstance(), *CSetupDBComm::getInstance());
    const bool prefix = c.want.ends_with("...");
    EXPECT_TRUE(prefix ? got.starts_with(c.want.substr(0, c.want.size() - 3)) : got == c.want)
        << c.server << "\ngot:  " << got << "\nwant: " << c.want;
  }
}

TEST(DbTest, RefusedConnectionsFailWithTheirReason) {
  constexpr char kRefused[] = "password authentication failed for user";
  const char* const refused[][4] = {
      // host, role, password, a part of the reason
      {"", "ubo", "19981107quorblex4", kRefused}, {"", "nosite", kPassword, kRefused}, {"", "tovak_reader", kPassword, kRefused},
      {"/nonexistent-socket-dir", "ubo", kPassword, "No such file or directory"}};
  for (const auto& c : refused) {
    CIndexDBComm::setup(c[0], "5432", "index", c[1], c[2]);
    EXPECT_NE(CIndexDBComm::getInstance()->open(), 0) << c[1] << "@" << c[0];
    const std::string reason = tovakLastFailure();
    EXPECT_TRUE(reason.find(c[3]) != std::string::npos && reason.find('\n') == std::string::npos)
        << reason;
  }
}

}  // namespace
}  // namespace tovak::testing
// clang-format on
