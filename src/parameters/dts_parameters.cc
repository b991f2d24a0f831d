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

namespace tovak {
namespace {

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
      {1, "1nsec"},           {10, "10nsec"},       {100, "0.1usec"},   {1000, "1usec"},
      {10000, "10usec"},      {100000, "100usec"},  {1000000, "1msec"}, {10000000, "10msec"},
      {100000000, "100msec"}, {1000000000, "1sec"},
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

// Name of a host number, "-" when the database does not know it.
std::string HostName(CIndexDBComm& db, int hostNumber) {
  char* raw = nullptr;
  const int status = db.get_host_name(hostNumber, &raw);
  const std::unique_ptr<char, decltype(&std::free)> name(raw, &std::free);
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
  int Int(int column) const { return ParseInt32(Text(column)); }
  long Long(int column) const { return static_cast<long>(ParseInt64(Text(column))); }
};

// The record's identity and the fixed description of a DTS channel's data.
void AppendRecordEntries(const ChannelRow& r, CParamSet& params) {
  params.AddParam("Shot", r.shot);
  params.AddParam("SubShot", static_cast<int>(r.subShot));
  params.AddParam("ChannelNumber", r.Int(kColChannel));
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
  params.AddParam("ChannelNumberInModule", r.Int(kColChannelInModule));
  params.AddParam("HostName", r.hostName.c_str());
  params.AddParamTime("TimeOfCollected", r.collected);
  params.AddParam("CompressionMethod", "ZLIB");
  params.AddParam("CompLength(byte)", 0);
  params.AddParam("CRC32", 0);
}

// The card's switches, as the card type has them.
void AppendCardEntries(const ChannelRow& r, CParamSet& params) {
  params.AddParam("BaseRate", r.Int(kColBaseRate));
  params.AddParam("EventOutMode", FlagWord(r.Text(kColEventOut), "On", "Off"));
  params.AddParam("ExternalTrigger", FlagWord(r.Text(kColExternalTrigger), "Enable", "Disable"));
  if (!r.dmodss) {
    params.AddParam("VMEbusInterrupt", FlagWord(r.Text(kColVmeInterrupt), "Enable", "Disable"));
  }
  params.AddParam("ClockSource", FlagWord(r.Text(kColInternalClock), "Internal", "External"));
  if (r.dmodss) {
    params.AddParam("Inhibit", FlagWord(r.Text(kColInhibit), "Enable", "Disable"));
    params.AddParam("BusIF", FlagWord(r.Text(kColBusInput), "Input", "Output"));
  }
  char moveMode[32];
  std::snprintf(moveMode, sizeof moveMode, "MODE%d", r.Int(kColMoveMode));
  params.AddParam("MoveMode", moveMode);
  params.AddParam("TimerTriggerChannel", r.Int(kColTimerTrigger));
  params.AddParam("DelayLinePreset", r.Int(kColDelayLinePreset));
  params.AddParam("InternalDelay", r.Int(kColInternalDelay));
  if (IsDividerChannel(r.dmodss, r.channel)) {
    params.AddParam("DvdRange", DividerRangeWord(r.Int(kColDividerRange)));
    params.AddParam("DvdMagnification", r.Int(kColDividerMagnification));
  }
}

// The output pulse, in seconds and in clock counts.
void AppendPulseEntries(const ChannelRow& r, CParamSet& params) {
  params.AddParam("DelayTime_s", r.Text(kColDelaySeconds), kTovakParamSeconds);
  params.AddParam("PulseWidth_s", r.Text(kColPulseWidthSeconds), kTovakParamSeconds);
  params.AddParam("RepetitionTime_s", r.Text(kColRepetitionSeconds), kTovakParamSeconds);
  params.AddParam("DelayTime", r.Long(kColDelay));
  params.AddParam("PulseWidth", r.Long(kColPulseWidth));
  params.AddParam("RepetitionTime", r.Long(kColRepetition));
  params.AddParam("RepetitionCount", r.Int(kColRepetitionCount));
  params.AddParam("TriggerSelect", r.Int(kColTriggerSelect));
}

// Every entry of one channel, in the order callers list them.
void AppendEntries(const ChannelRow& r, CParamSet& params) {
  AppendRecordEntries(r, params);
  AppendCardEntries(r, params);
  AppendPulseEntries(r, params);
}

int DirectDTSParameters(const char* server, const ModuleKey& key, unsigned short channel,
                        CParamSet& params) {
  DtsModule target;
  const auto use = [&](CIndexDBComm& db, const CRDBres& table) {
    // Channel 0 and channels past the module's last row name no row.
    const int row = channel - 1;
    if (row < 0 || row >= RowCount(&table)) {
      VerboseMessage("No DTS table row for channel %d of module [%s]\n", channel,
                     target.name.c_str());
      return TOVAK_E_NO_MODULE_ROWS;
    }
    const ChannelRow channelRow{
        table,
        row,
        key.shot,
        key.subShot,
        channel,
        IsDmodss(Cell(table, row, kColModule)),
        HostName(db, ParseInt32(Cell(table, row, kColHostNumber))),
        CollectionTime(Cell(table, row, kColCollected)),
    };
    AppendEntries(channelRow, params);
    return TOVAK_OK;
  };
  return QueryModuleTable(server, key, TOVAK_E_NO_MODULE_ROWS, nullptr, target, use);
}

int RemoteDTSParameters(CmonoMirvoDataClient& client, const ModuleKey& key, unsigned short channel,
                        CParamSet& params) {
  std::string text;
  const int status =
      client.GetDTSParameters(key.dtsName, key.module, key.shot, key.subShot, channel, text);
  if (status == 0 && params.PutString(text.c_str()) != 0) {
    VerboseMessage("Malformed parameter list from the remote server\n");
  }
  return status;
}

}  // namespace
}  // namespace tovak

int getDTSParameters(const char* server, const char* dtsName, const char* module, unsigned int shot,
                     unsigned short subShot, unsigned short channel, CParamSet& params) {
  using namespace tovak;
  const ModuleKey key{dtsName, module, shot, subShot};
  const auto remote = [&](CmonoMirvoDataClient& client) {
    return RemoteDTSParameters(client, key, channel, params);
  };
  const auto direct = [&] { return DirectDTSParameters(server, key, channel, params); };
  return Dispatch(server, remote, direct);
}
