// Server names of the index and setup databases: the site handed back is the
// user, cut, and the parts written back read the same.
#include <array>

#include "fuzz_support.h"
#include "tovak/tovak.h"

namespace {

using Setup = void (*)(const char* name, char* site);
using Parts = std::array<std::string, 4>;  // host, port, database, user

// The parts that set-up asked for; the site it handed back is their user, cut.
Parts SetUp(Setup setup, const std::vector<tovak::testing::SetupCall>& setups, const char* name) {
  tovak::fuzz::Buffer site(32);
  setup(name, site.data());
  FUZZ_CHECK(!setups.empty() && !setups.back().password.empty());
  const tovak::testing::SetupCall& asked = setups.back();
  FUZZ_CHECK(site.str() == asked.user.substr(0, 31));
  return {asked.host, asked.port, asked.database, asked.user};
}

// The index server's name is written without its port, the setup server's with it.
void Check(Setup setup, const std::vector<tovak::testing::SetupCall>& setups,
           const std::string& name, bool withPort) {
  const Parts given = SetUp(setup, setups, name.c_str());
  const auto& [host, port, database, user] = given;
  FUZZ_CHECK(host.find_first_of(" \t\n\v\f\r") == std::string::npos &&
             user.find_first_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ") == std::string::npos);
  setup(name.c_str(), nullptr);  // no site wanted
  const std::string kept = withPort ? port : "", written = host + "/" + user + ":" + kept + ":";
  const bool plain = (host + user + kept).find_first_of(":/") == std::string::npos;
  FUZZ_CHECK(!plain || withPort == kept.empty() ||
             SetUp(setup, setups, (written + database).c_str()) == given);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string name = std::string(reinterpret_cast<const char*>(data), size).c_str();
  tovak::testing::ResetCompanions();
  Check(IndexSetup, tovak::testing::IndexDb().setups, name, false);
  Check(SetupSetup, tovak::testing::SetupDb().setups, name, true);
  tovak::fuzz::CheckCompanions();
  return 0;
}
