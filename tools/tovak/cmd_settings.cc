// modules, channels, settings: what a diagnostic's digitizers used in a shot.
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "command.h"
#include "settings_arrays.h"
#include "tovak/tovak.h"

namespace tovak::cli {
namespace {

using tooling::Owned;
using tooling::OwnedSettings;

// The eight channel-settings columns as the index database defines them
// (docs/database.md).
const std::vector<std::string> kChannelColumns = {"channel",     "range_V",     "offset_V",
                                                  "clock_Hz",    "pre_samples", "samples",
                                                  "clock_count", "mode_flag"};

std::vector<Value> ChannelRow(const DTSchSettings& c) {
  return {int64_t{c.column0}, c.column1,          c.column2,          c.column3,
          int64_t{c.column4}, int64_t{c.column5}, int64_t{c.column6}, int64_t{c.column7}};
}

// The settings lookups always read the databases, and the tool says so when
// a remote server is named (the databases the configuration names answer) or
// configured (KOVD_GRPC; --server may still name the databases).
std::string IndexServer(const std::string& server, const char* command) {
  const bool named = NamesRemoteServer(server);
  if (!named && isTovakProtocolV2(server.c_str()) == 0) return server;
  std::fprintf(stderr,
               "tovak %s: note: answered from the databases %s, not by %s: these lookups have no "
               "remote form\n",
               command,
               named ? "the configuration names (INDEXSERVERNAME, SETUPSERVERNAME)"
                     : "(--server, INDEXSERVERNAME, SETUPSERVERNAME)",
               named ? server.c_str() : "the remote server KOVD_GRPC names");
  return named ? "" : server;
}

// --setup-server; else --server when it names databases, so that one option
// picks the site; else SETUPSERVERNAME.
std::string SetupServer(const Args& args, const std::string& server) {
  if (std::optional<std::string> setup = args.Value("setup-server")) return *setup;
  return NamesRemoteServer(server) ? "" : server;
}

std::string AskedDiag(const Args& args) {
  return "diagnostic '" + args.Positional(0, "DIAG") + "'";
}

void RunModules(const Args& args, const std::string& remoteOrIndex, Report& report) {
  const std::string server = IndexServer(remoteOrIndex, "modules");
  Owned<DTSmodule> modules;
  Check(
      "tovakGetDTSdiagShot",
      tovakGetDTSdiagShot(SetupServer(args, server).c_str(), args.Positional(0, "DIAG").c_str(),
                          ShotArg(args, 1), SubShotArg(args, 2), &modules.data, &modules.count, 1),
      AskedDiag(args));
  Table table{"modules", {"key1", "key2"}, {}};
  for (int i = 0; i < modules.count; ++i) {
    table.rows.push_back({std::string(modules.data[i].key1), std::string(modules.data[i].key2)});
  }
  report.AddTable(std::move(table));
}

void RunChannels(const Args& args, const std::string& remoteOrIndex, Report& report) {
  const std::string server = IndexServer(remoteOrIndex, "channels");
  Owned<DTSchSettings> channels;
  Check("tovakGetDTSchSettings",
        tovakGetDTSchSettings(server.c_str(), args.Positional(0, "KEY1").c_str(),
                              args.Positional(1, "KEY2").c_str(), ShotArg(args, 2),
                              SubShotArg(args, 3), &channels.data, &channels.count, 1),
        "module '" + args.Positional(0, "KEY1") + "' '" + args.Positional(1, "KEY2") + "'");
  Table table{"channels", kChannelColumns, {}};
  for (int i = 0; i < channels.count; ++i) table.rows.push_back(ChannelRow(channels.data[i]));
  report.AddTable(std::move(table));
}

void RunSettings(const Args& args, const std::string& remoteOrIndex, Report& report) {
  const std::string server = IndexServer(remoteOrIndex, "settings");
  OwnedSettings settings;
  Check("tovakGetDTSsettings",
        tovakGetDTSsettings(SetupServer(args, server).c_str(), server.c_str(),
                            args.Positional(0, "DIAG").c_str(), ShotArg(args, 1),
                            SubShotArg(args, 2), &settings.data, &settings.count, 1),
        AskedDiag(args));
  std::vector<std::string> columns = {"key1", "key2"};
  columns.insert(columns.end(), kChannelColumns.begin(), kChannelColumns.end());
  Table table{"channels", columns, {}};
  for (int m = 0; m < settings.count; ++m) {
    const DTSsettings& s = settings.data[m];
    for (int c = 0; c < s.chCount; ++c) {
      std::vector<Value> row = {std::string(s.module.key1), std::string(s.module.key2)};
      for (Value& v : ChannelRow(s.chSettings[c])) row.push_back(std::move(v));
      table.rows.push_back(std::move(row));
    }
  }
  report.Add("modules", "modules", int64_t{settings.count});
  report.AddTable(std::move(table));
}

}  // namespace

void AddSettingsCommands(std::vector<Command>& commands) {
  commands.push_back({"modules",
                      "digitizer modules a diagnostic used in a shot",
                      "modules DIAG SHOT SUBSHOT [--setup-server NAME]\n"
                      "  Asks the setup database (NAME: host[/site][:port[:database]]; default\n"
                      "  --server when it names databases, else SETUPSERVERNAME).\n",
                      {{"setup-server"}, {}},
                      &RunModules,
                      1});
  commands.push_back({"channels",
                      "channel settings of a digitizer module",
                      "channels KEY1 KEY2 SHOT SUBSHOT\n",
                      {},
                      &RunChannels,
                      2});
  commands.push_back({"settings",
                      "modules of a diagnostic with their channel settings",
                      "settings DIAG SHOT SUBSHOT [--setup-server NAME]\n"
                      "  The setup database as for modules, the channels from --server.\n",
                      {{"setup-server"}, {}},
                      &RunSettings,
                      1});
}

}  // namespace tovak::cli
