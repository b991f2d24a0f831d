// Server names of the index and setup databases: given or read from the
// environment, they set up alike, and the parts written back read the same.
#include <cctype>
#include <map>

#include "fuzz_support.h"
#include "tovak/tovak.h"

namespace {

using Parts = tovak::testing::SetupCall;

// setenv keeps every value it was ever given, which over millions of inputs
// looks like a leak; putenv takes a text the caller owns and frees later.
void SetEnvironment(const std::string& variable, const std::string& value) {
  static auto& held = *new std::map<std::string, std::unique_ptr<char[]>>;  // never destroyed
  const std::string entry = variable + "=" + value;
  auto text = std::make_unique<char[]>(entry.size() + 1);
  std::memcpy(text.get(), entry.c_str(), entry.size() + 1);
  FUZZ_CHECK(putenv(text.get()) == 0);
  held[variable] = std::move(text);
}

using Setup = void (*)(const char* name, char* site);

// The parts that set-up asked for; the site it handed back is their user, cut.
Parts SetUp(Setup setup, const std::vector<Parts>& setups, const char* name) {
  tovak::fuzz::Buffer site(32);
  setup(name, site.data());
  FUZZ_CHECK(!setups.empty() && !setups.back().password.empty());
  FUZZ_CHECK(site.str() == setups.back().user.substr(0, 31));
  return setups.back();
}

bool Same(const Parts& a, const Parts& b) {
  return std::tie(a.host, a.port, a.database, a.user) ==
         std::tie(b.host, b.port, b.database, b.user);
}

// The index server's name is written without its port, the setup server's with it.
void Check(Setup setup, const std::vector<Parts>& setups, const char* variable,
           const std::string& name, bool withPort) {
  SetEnvironment(variable, name);
  const Parts given = SetUp(setup, setups, name.c_str());
  FUZZ_CHECK(Same(SetUp(setup, setups, ""), given) && Same(SetUp(setup, setups, nullptr), given));
  for (const char c : given.host) FUZZ_CHECK(std::isspace(static_cast<unsigned char>(c)) == 0);
  for (const char c : given.user) FUZZ_CHECK(std::isupper(static_cast<unsigned char>(c)) == 0);
  setup(name.c_str(), nullptr);  // no site wanted
  const std::string port = withPort ? given.port : "";
  const bool plain = (given.host + given.user + port).find_first_of(":/") == std::string::npos;
  if (!plain || withPort == port.empty()) return;
  const std::string written = given.host + "/" + given.user + ":" + port + ":" + given.database;
  FUZZ_CHECK(Same(SetUp(setup, setups, written.c_str()), given));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string name = std::string(reinterpret_cast<const char*>(data), size).c_str();
  tovak::testing::ResetCompanions();
  Check(IndexSetup, tovak::testing::IndexDb().setups, "INDEXSERVERNAME", name, false);
  Check(SetupSetup, tovak::testing::SetupDb().setups, "SETUPSERVERNAME", name, true);
  tovak::fuzz::CheckCompanions();
  return 0;
}
