#include <cstring>
#include <string>
#include <vector>

#include "dts_fixture.h"

namespace tovak::testing {
namespace {

using ExportTest = DtsTest;

constexpr unsigned short kRecords = 41;

struct Flat {
  explicit Flat(int records, int nameWidth = 64, int valueWidth = 128)
      : names(records * nameWidth, '#'), values(records * valueWidth, '#'), tags(records, -7),
        nameWidth(nameWidth), valueWidth(valueWidth) {}
  std::string Name(int i) const { return names.substr(i * nameWidth, nameWidth); }
  std::string Value(int i) const { return values.substr(i * valueWidth, valueWidth); }
  std::string names, values;
  std::vector<int> tags;
  int nameWidth, valueWidth;
};

std::string Padded(const std::string& text, int width) {
  return text + std::string(width - text.size(), '\0');
}

TEST_F(ExportTest, FlatRecordsArePaddedAndFilled) {
  Flat out(kRecords);
  ASSERT_EQ(tovakGetDTSParameters2("idx", "DTS1", "DMOD1", 1234, 2, 3, kRecords,
                                   out.names.data(), out.values.data(), out.tags.data()),
            0);
  // Record 2 starts at byte 128 of the names and byte 256 of the values.
  EXPECT_EQ(out.names.substr(128, 64), Padded("ChannelNumber", 64));
  EXPECT_EQ(out.values.substr(256, 128), Padded("3", 128));
  EXPECT_EQ(out.tags[2], kTovakParamInt);
  EXPECT_EQ(out.Name(37), Padded("TriggerSelect", 64));
  for (int i = 38; i < kRecords; ++i) {  // 38 entries, then filler records
    EXPECT_EQ(out.Name(i), std::string(64, '\0')) << i;
    EXPECT_EQ(out.Value(i), std::string(128, '\0')) << i;
    EXPECT_EQ(out.tags[i], 1) << i;
  }
}

TEST_F(ExportTest, ShortCountDropsTheTailAndWritesNoFurther) {
  table = ModuleTable("DMODSS1", 8);
  Flat out(40);
  ASSERT_EQ(tovakGetDTSParameters("idx", "DTS1", "DMOD1", 1234, 2, 7, 38, out.names.data(),
                                  out.values.data(), out.tags.data(), true),
            0);
  EXPECT_EQ(out.Name(37), Padded("PulseWidth", 64));
  EXPECT_EQ(out.Name(38), std::string(64, '#'));
  EXPECT_EQ(out.tags[38], -7);

  Flat none(1);
  ASSERT_EQ(tovakGetDTSParameters2("idx", "DTS1", "DMOD1", 1234, 2, 7, 0, none.names.data(),
                                   none.values.data(), none.tags.data()),
            0);
  EXPECT_EQ(none.names, std::string(64, '#'));
}

TEST_F(ExportTest, CallerWidthsCutTextsWithinTheirRecords) {
  Flat out(3, 6, 3);
  ASSERT_EQ(tovakGetDTSParameters2_s("idx", "DTS1", "DMOD1", 1234, 2, 3, 3, out.names.data(),
                                     6, out.values.data(), 3, out.tags.data()),
            0);
  EXPECT_EQ(out.names, std::string("Shot\0\0SubSh\0Chann\0", 18));
  EXPECT_EQ(out.values, std::string("12\0" "2\0\0" "3\0\0", 9));
  EXPECT_EQ(out.tags, (std::vector<int>{3, 2, 2}));
}

TEST_F(ExportTest, WidthBelowOneLeavesThatBufferAlone) {
  Flat out(2, 8, 8);
  ASSERT_EQ(tovakGetDTSParameters_s("idx", "DTS1", "DMOD1", 1234, 2, 3, 2, out.names.data(), 0,
                                    out.values.data(), -5, out.tags.data(), true),
            0);
  EXPECT_EQ(out.names, std::string(16, '#'));
  EXPECT_EQ(out.values, std::string(16, '#'));
  EXPECT_EQ(out.tags, (std::vector<int>{3, 2}));
}

TEST_F(ExportTest, PointerLayoutWritesEachRecordInItsOwnBuffer) {
  std::vector<std::string> names(kRecords, std::string(10, '#'));
  std::vector<std::string> values(kRecords, std::string(10, '#'));
  std::vector<char*> namePtrs, valuePtrs;
  for (int i = 0; i < kRecords; ++i) {
    namePtrs.push_back(names[i].data());
    valuePtrs.push_back(values[i].data());
  }
  std::vector<int> tags(kRecords, -7);
  ASSERT_EQ(tovakGetDTSParameters_s("idx", "DTS1", "DMOD1", 1234, 2, 3, kRecords,
                                    namePtrs.data(), 8, valuePtrs.data(), 4, tags.data(),
                                    false),
            0);
  EXPECT_EQ(names[16], std::string("HostNam\0##", 10));
  EXPECT_EQ(values[16], std::string("dts\0######", 10));
  EXPECT_EQ(tags[17], kTovakParamTime);
  EXPECT_EQ(names[40], std::string("\0#########", 10));
  EXPECT_EQ(tags[40], 1);
}

TEST_F(ExportTest, FailedBuildTouchesNoBuffer) {
  table.status = -2;
  Flat out(kRecords);
  const Flat before = out;
  EXPECT_EQ(tovakGetDTSParameters("idx", "DTS1", "DMOD1", 1234, 2, 3, kRecords,
                                  out.names.data(), out.values.data(), out.tags.data(), true),
            TOVAK_E_NO_MODULE_ROWS);
  EXPECT_EQ(out.names, before.names);
  EXPECT_EQ(out.values, before.values);
  EXPECT_EQ(out.tags, before.tags);
}

TEST_F(ExportTest, RemoteStatusPassesThrough) {
  ResetCompanions();
  SetConfig("KOVD_GRPC", "grpc://srv:1");
  Client().getDTSParameters = [](const char*, const char*, unsigned, unsigned short,
                                 unsigned short, std::string&) { return 12; };
  Flat out(2);
  EXPECT_EQ(tovakGetDTSParameters2("srv", "DTS1", "DMOD1", 1, 0, 1, 2, out.names.data(),
                                   out.values.data(), out.tags.data()),
            12);
  EXPECT_EQ(out.tags, (std::vector<int>{-7, -7}));
}

}  // namespace
}  // namespace tovak::testing
