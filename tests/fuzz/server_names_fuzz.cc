// Server names of the index and setup databases. Whatever the text, the name
// given as the argument and the same name read from the environment (argument
// null or "") set the connection up alike; the host holds no white space, the
// user no capital; the site handed back is the user cut to its 32-byte
// buffer; and the parts written back as a name read the same again.
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "fuzz_support.h"
#include "tovak/tovak.h"

namespace {

using Parts = tovak::testing::SetupCall;

struct Database {
  void (*setup)(const char* name, char* site);
  const char* variable;
  const std::vector<Parts>& (*calls)();
  // The parts written back as a name; "" when they cannot be.
  std::string (*write)(const Parts& parts);
};

bool Plain(const std::string& part) { return part.find_first_of(":/") == std::string::npos; }

const std::vector<Parts>& IndexCalls() { return tovak::testing::IndexDb().setups; }
const std::vector<Parts>& SetupCalls() { return tovak::testing::SetupDb().setups; }

const Database kIndex{
    IndexSetup, "INDEXSERVERNAME", IndexCalls, [](const Parts& p) {
      return Plain(p.host) && Plain(p.user) ? p.host + "/" + p.user + "::" + p.database : "";
    }};
const Database kSetup{SetupSetup, "SETUPSERVERNAME", SetupCalls, [](const Parts& p) {
                        return Plain(p.host) && Plain(p.user) && Plain(p.port) && !p.port.empty()
                                   ? p.host + "/" + p.user + ":" + p.port + ":" + p.database
                                   : "";
                      }};

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

Parts SetUp(const Database& db, const char* name) {
  tovak::fuzz::Buffer site(32);
  db.setup(name, site.data());
  FUZZ_CHECK(!db.calls().empty());
  const Parts parts = db.calls().back();
  FUZZ_CHECK(site.str() == parts.user.substr(0, 31) && !parts.password.empty());
  return parts;
}

bool Same(const Parts& a, const Parts& b) {
  return a.host == b.host && a.port == b.port && a.database == b.database && a.user == b.user;
}

void Check(const Database& db, const std::string& name) {
  SetEnvironment(db.variable, name);
  const Parts given = SetUp(db, name.c_str());
  FUZZ_CHECK(Same(SetUp(db, ""), given) && Same(SetUp(db, nullptr), given));
  for (const char c : given.host) FUZZ_CHECK(std::isspace(static_cast<unsigned char>(c)) == 0);
  for (const char c : given.user) FUZZ_CHECK(std::isupper(static_cast<unsigned char>(c)) == 0);
  db.setup(name.c_str(), nullptr);  // no site wanted
  const std::string written = db.write(given);
  if (!written.empty()) FUZZ_CHECK(Same(SetUp(db, written.c_str()), given));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string name = tovak::fuzz::Text(data, size).c_str();
  tovak::testing::ResetCompanions();
  Check(kIndex, name);
  Check(kSetup, name);
  tovak::fuzz::CheckCompanions();
  return 0;
}
