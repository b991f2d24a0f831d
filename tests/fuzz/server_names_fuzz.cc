// Server names of the index and setup databases:
//   index: host[/site][::database]      setup: host[/site][:port[:database]]
// Whatever the text (given as the argument, or through the environment when
// the argument is null or empty), the connection is set up with the parts
// it names (the host without white space), the site in lower case as the user, and the site handed back is
// cut to fit its 32-byte buffer.
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <string>

#include "companion_support.h"
#include "tovak/tovak.h"

namespace {

using tovak::fuzz::Buffer;
using tovak::testing::IndexDb;
using tovak::testing::ScriptedIndexDb;
using tovak::testing::SetupDb;

constexpr size_t kSiteBuffer = 32;
constexpr char kPort[] = "5432";

struct Expected {
  std::string host, port = kPort, database, user = "ubo";
};

std::string Lower(std::string text) {
  for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return text;
}

// host[/site] into host (white space dropped) and user.
void SplitSite(const std::string& hostAndSite, Expected& expected) {
  const size_t slash = hostAndSite.find('/');
  for (const char c : hostAndSite.substr(0, slash)) {
    if (std::isspace(static_cast<unsigned char>(c)) == 0) expected.host += c;
  }
  if (slash != std::string::npos) expected.user = Lower(hostAndSite.substr(slash + 1));
}

Expected IndexParts(const std::string& name) {
  Expected expected;
  expected.database = "index";
  const size_t cut = name.find("::");
  if (cut != std::string::npos) expected.database = name.substr(cut + 2);
  SplitSite(name.substr(0, cut), expected);
  return expected;
}

Expected SetupParts(const std::string& name) {
  Expected expected;
  expected.database = "setup";
  const size_t colon = name.find(':');
  if (colon != std::string::npos) {
    const std::string rest = name.substr(colon + 1);
    const size_t next = rest.find(':');
    if (next != 0) expected.port = rest.substr(0, next);
    if (next != std::string::npos) expected.database = rest.substr(next + 1);
  }
  SplitSite(name.substr(0, colon), expected);
  return expected;
}

void CheckSetup(const ScriptedIndexDb::SetupCall& call, const Expected& expected,
                const Buffer& site) {
  FUZZ_CHECK(call.host == expected.host && call.port == expected.port &&
             call.database == expected.database && call.user == expected.user);
  FUZZ_CHECK(!call.password.empty());
  FUZZ_CHECK(site.str() == expected.user.substr(0, kSiteBuffer - 1));
}

// Sets variable to value. setenv keeps every value it was ever given,
// which over millions of inputs looks like a leak; putenv takes a text the
// caller owns, so the previous one can be freed once it is replaced.
void SetEnvironment(const std::string& variable, const std::string& value) {
  // Never destroyed: the environment refers to the texts until the end.
  static auto& held = *new std::map<std::string, std::unique_ptr<char[]>>;
  const std::string entry = variable + "=" + value;
  auto text = std::make_unique<char[]>(entry.size() + 1);
  std::memcpy(text.get(), entry.c_str(), entry.size() + 1);
  FUZZ_CHECK(putenv(text.get()) == 0);
  held[variable] = std::move(text);
}

// The name as the argument, as "" with the environment, and as null with
// the environment: the same set-up each time.
template <class Setup, class Calls>
void CheckAllWays(Setup setup, const char* variable, const std::string& name, Calls calls,
                  const Expected& expected) {
  SetEnvironment(variable, name);
  for (const char* argument : {name.c_str(), "", static_cast<const char*>(nullptr)}) {
    Buffer site(kSiteBuffer);
    setup(argument, site.data());
    FUZZ_CHECK(!calls().empty());
    CheckSetup(calls().back(), expected, site);
  }
  setup(name.c_str(), nullptr);  // no site wanted
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string name = tovak::fuzz::Text(data, size).c_str();
  tovak::testing::ResetCompanions();
  CheckAllWays(IndexSetup, "INDEXSERVERNAME", name, [] { return IndexDb().setups; },
               IndexParts(name));
  CheckAllWays(SetupSetup, "SETUPSERVERNAME", name, [] { return SetupDb().setups; },
               SetupParts(name));
  tovak::fuzz::CheckCompanions();
  return 0;
}
