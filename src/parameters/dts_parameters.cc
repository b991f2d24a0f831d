// The parameter list of one timing output channel: the channel's DTS table
// row turned into named, typed entries, or the same list from the remote
// server.
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <string>

#include "access/session.h"
#include "access/state.h"
#include "access/text.h"
#include "parameters/dts_table.h"
#include "tovak/param_set.h"
#include "tovak/tovak.h"

namespace {

using tovak::Cell;

// Host names are held in 256 bytes: longer names are cut to 255 characters.
constexpr size_t kHostNameLimit = 255;

// A flag cell is judged by its first character: "t" true, "f" false.
const char* FlagWord(const char* cell, const char* trueWord, const char* falseWord) {
  if (cell[0] == 't') return trueWord;
  if (cell[0] == 'f') return falseWord;
  return "Undefined";
}

const char* DividerRangeWord(int32_t nanoseconds) {
  static const struct {
    int32_t value;
    const char* word;
  } kRanges[] = {
      {1, "1nsec"},          {10, "10nsec"},          {100, "0.1usec"},
      {1000, "1usec"},       {10000, "10usec"},       {100000, "100usec"},
      {1000000, "1msec"},    {10000000, "10msec"},    {100000000, "100msec"},
      {1000000000, "1sec"},
  };
  for (const auto& range : kRanges) {
    if (range.value == nanoseconds) return range.word;
  }
  return "Undefined";
}

// Collection time: local wall-clock time written as "%Y-%m-%d %H:%M:%S+09".
// Whether daylight saving applies is left to the time zone rules; a cell
// that does not match the format gives 0.
long CollectionTime(const char* cell) {
  std::tm broken{};
  broken.tm_isdst = -1;
  if (strptime(cell, "%Y-%m-%d %H:%M:%S+09", &broken) == nullptr) return 0;
  return static_cast<long>(std::mktime(&broken));
}

struct FreeText {
  void operator()(char* text) const { std::free(text); }
};

// Name of a host number, "-" when the database does not know it.
std::string HostName(CIndexDBComm& db, int hostNumber) {
  char* raw = nullptr;
  const int status = db.get_host_name(hostNumber, &raw);
  const std::unique_ptr<char, FreeText> name(raw);
  if (status != 0 || name == nullptr) return "-";
  std::string text(name.get());
  if (text.size() > kHostNameLimit) text.resize(kHostNameLimit);
  return text;
}

// What the entries of one channel are made of, gathered before the first
// entry is appended.
struct ChannelRow {
  const CRDBres& table;
  int row;
  unsigned int shot;
  unsigned short subShot;
  int channel;
  bool dmodss;
  std::string hostName;
  long collected;

  const char* Text(int column) const { return Cell(table, row, column); }
  int Int(int column) const { return tovak::ParseInt32(Text(column)); }
  long Long(int column) const { return static_cast<long>(tovak::ParseInt64(Text(column))); }
};

void AppendEntries(const ChannelRow& r, CParamSet& params) {
  params.AddParam("Shot", r.shot);
  params.AddParam("SubShot", static_cast<int>(r.subShot));
  params.AddParam("ChannelNumber", r.Int(tovak::kColChannel));
  params.AddParam("ModuleGroup", "CAMAC");
  params.AddParam("ModuleType", "DTS");
  params.AddParam("DataType", "RAW");
  params.AddParam("Resolution(bit)", 16);
  params.AddParam("ImageType", "INT16");
  params.AddParam("ManagementVersion", "10.0.0");
  params.AddParam("SampledFrame", 0);
  params.AddParam("FrameByteSize", 0);
  params.AddParam("DataLength(byte)", 0);
  params.AddParam("Status", "Up");
  params.AddParam("Comment", "");
  params.AddParam("CardType", r.dmodss ? "DMODSS" : "DMOD");
  params.AddParam("ChannelNumberInModule", r.Int(tovak::kColChannelInModule));
  params.AddParam("HostName", r.hostName.c_str());
  params.AddParamTime("TimeOfCollected", r.collected);
  params.AddParam("CompressionMethod", "ZLIB");
  params.AddParam("CompLength(byte)", 0);
  params.AddParam("CRC32", 0);
  params.AddParam("BaseRate", r.Int(tovak::kColBaseRate));
  params.AddParam("EventOutMode", FlagWord(r.Text(tovak::kColEventOut), "On", "Off"));
  params.AddParam("ExternalTrigger",
                  FlagWord(r.Text(tovak::kColExternalTrigger), "Enable", "Disable"));
  if (!r.dmodss) {
    params.AddParam("VMEbusInterrupt",
                    FlagWord(r.Text(tovak::kColVmeInterrupt), "Enable", "Disable"));
  }
  params.AddParam("ClockSource",
                  FlagWord(r.Text(tovak::kColInternalClock), "Internal", "External"));
  if (r.dmodss) {
    params.AddParam("Inhibit", FlagWord(r.Text(tovak::kColInhibit), "Enable", "Disable"));
    params.AddParam("BusIF", FlagWord(r.Text(tovak::kColBusInput), "Input", "Output"));
  }
  char moveMode[32];
  std::snprintf(moveMode, sizeof moveMode, "MODE%d", r.Int(tovak::kColMoveMode));
  params.AddParam("MoveMode", moveMode);
  params.AddParam("TimerTriggerChannel", r.Int(tovak::kColTimerTrigger));
  params.AddParam("DelayLinePreset", r.Int(tovak::kColDelayLinePreset));
  params.AddParam("InternalDelay", r.Int(tovak::kColInternalDelay));
  if (tovak::IsDividerChannel(r.dmodss, r.channel)) {
    params.AddParam("DvdRange", DividerRangeWord(r.Int(tovak::kColDividerRange)));
    params.AddParam("DvdMagnification", r.Int(tovak::kColDividerMagnification));
  }
  params.AddParam("DelayTime_s", r.Text(tovak::kColDelaySeconds), kTovakParamSeconds);
  params.AddParam("PulseWidth_s", r.Text(tovak::kColPulseWidthSeconds), kTovakParamSeconds);
  params.AddParam("RepetitionTime_s", r.Text(tovak::kColRepetitionSeconds),
                  kTovakParamSeconds);
  params.AddParam("DelayTime", r.Long(tovak::kColDelay));
  params.AddParam("PulseWidth", r.Long(tovak::kColPulseWidth));
  params.AddParam("RepetitionTime", r.Long(tovak::kColRepetition));
  params.AddParam("RepetitionCount", r.Int(tovak::kColRepetitionCount));
  params.AddParam("TriggerSelect", r.Int(tovak::kColTriggerSelect));
}

int V1getDTSParameters(const char* server, const char* dtsName, const char* module,
                       unsigned int shot, unsigned short subShot, unsigned short channel,
                       CParamSet& params) {
  tovak::IndexSession session(server);
  if (session.status() != 0) return session.status();
  CIndexDBComm& db = session.db();

  tovak::DtsModule target;
  const int resolved = tovak::ResolveDtsModule(db, dtsName, module, shot, subShot,
                                               TOVAK_E_NO_MODULE_ROWS, target);
  if (resolved != 0) return resolved;

  tovak::ResultPtr table(db.get_DTSTBL(target.hostId, target.name.c_str(), shot, subShot));
  if (tovak::NothingFound(table.get())) return TOVAK_E_NO_MODULE_ROWS;
  // Channel 0 and channels past the module's last row name no row.
  const int row = channel - 1;
  if (row < 0 || row >= tovak::RowCount(table.get())) {
    tovak::VerboseMessage("No DTS table row for channel %d of module [%s]\n", channel,
                          target.name.c_str());
    return TOVAK_E_NO_MODULE_ROWS;
  }

  const ChannelRow channelRow{
      *table,
      row,
      shot,
      subShot,
      channel,
      tovak::IsDmodss(Cell(*table, row, tovak::kColModule)),
      HostName(db, tovak::ParseInt32(Cell(*table, row, tovak::kColHostNumber))),
      CollectionTime(Cell(*table, row, tovak::kColCollected)),
  };
  AppendEntries(channelRow, params);
  return 0;
}

int V2getDTSParameters(const char* server, const char* dtsName, const char* module,
                       unsigned int shot, unsigned short subShot, unsigned short channel,
                       CParamSet& params) {
  return tovak::WithRemoteClient(server, [&](CmonoMirvoDataClient& client) {
    std::string text;
    const int status =
        client.GetDTSParameters(dtsName, module, shot, subShot, channel, text);
    if (status == 0 && params.PutString(text.c_str()) != 0) {
      tovak::VerboseMessage("Malformed parameter list from the remote server\n");
    }
    return status;
  });
}

}  // namespace

int getDTSParameters(const char* server, const char* dtsName, const char* module,
                     unsigned int shot, unsigned short subShot, unsigned short channel,
                     CParamSet& params) {
  if (isTovakProtocolV2(server) == tovak::kProtocolV2) {
    return V2getDTSParameters(server, dtsName, module, shot, subShot, channel, params);
  }
  return V1getDTSParameters(server, dtsName, module, shot, subShot, channel, params);
}
