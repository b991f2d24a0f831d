// Scripted DTS tables for the parameter tests.
#ifndef TOVAK_TESTS_PARAMETERS_DTS_FIXTURE_H_
#define TOVAK_TESTS_PARAMETERS_DTS_FIXTURE_H_

#include <string>
#include <vector>

#include "doubles/companions.h"
#include "tovak/param_set.h"
#include "tovak/tovak.h"

namespace tovak::testing {

using Row = std::vector<std::string>;

// A DTS table row of 34 columns; every column the library reads holds a
// value of its own.
inline Row DtsRow(const std::string& module, int channel) {
  Row row(34, "");
  row[2] = "2024-03-05 10:20:30+09";
  row[4] = "7";
  row[6] = module;
  row[7] = std::to_string(channel);
  row[8] = std::to_string(channel + 100);
  row[9] = "1000000";
  row[10] = "3";
  row[11] = "4";
  row[12] = "100";
  row[13] = "5";
  row[16] = "1.5e-06";
  row[17] = "2e-06";
  row[18] = "0.001";
  row[19] = "1500";
  row[20] = "2000";
  row[21] = "9000000000";
  row[22] = "10";
  row[23] = "2";
  row[25] = "t";
  row[26] = "f";
  row[27] = "t";
  row[28] = "f";
  row[30] = "t";
  row[31] = "f";
  row[32] = "3";
  row[33] = "6";
  return row;
}

inline Table ModuleTable(const std::string& module, int channels) {
  Table table;
  for (int c = 1; c <= channels; ++c) table.rows.push_back(DtsRow(module, c));
  return table;
}

struct Entry {
  std::string name, value;
  int tag;
  bool operator==(const Entry&) const = default;
};

inline std::vector<Entry> Entries(const CParamSet& set) {
  std::vector<Entry> out;
  for (int i = 0; i < set.GetParamCount(); ++i) {
    char name[300], value[300];
    int tag = 0;
    set.GetParam(i, name, sizeof name, value, sizeof value, &tag);
    out.push_back({name, value, tag});
  }
  return out;
}

inline std::vector<std::string> Names(const CParamSet& set) {
  std::vector<std::string> names;
  for (const Entry& e : Entries(set)) names.push_back(e.name);
  return names;
}

// V1, a known timing unit (host id 5) whose modules answer `table`, host
// number 7 named "dtshost".
class DtsTest : public CompanionTest {
 protected:
  void SetUp() override {
    CompanionTest::SetUp();
    setTovakProtocolV1();
    ScriptedIndexDb& db = IndexDb();
    db.hostId = [](const std::string& name) { return name == "DTS1" ? 5 : -1; };
    db.camacId = [](const std::string& name) { return name == "CAMAC1" ? 9 : -1; };
    db.dtsTable = [this](int, const std::string&, unsigned, unsigned) { return table; };
    db.hostTable = [this](int, unsigned, unsigned) { return table; };
    db.hostName = [](int n) {
      return std::pair{n == 7 ? 0 : -1, std::optional<std::string>("dtshost")};
    };
  }
  Table table = ModuleTable("DMOD1", 8);
};

}  // namespace tovak::testing

#endif  // TOVAK_TESTS_PARAMETERS_DTS_FIXTURE_H_
