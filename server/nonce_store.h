// The nonces of recent proofs of identity, shared by every worker of a server
// so that a proof is accepted once by the whole server.
//
// A fixed table (about 17 MiB) in memory the supervisor maps before it starts
// its workers: a file when nonce_file is configured (a restarted server then
// still knows the nonces of the window), anonymous memory otherwise. Each
// nonce is kept until its proof's time leaves the window; each user may hold
// at most kMaxNoncesPerUser, so that no user can fill the table for others.
// The table also keeps the highest clock reading seen, so that a clock set
// back does not re-open the nonces it has forgotten.
#ifndef TOVAK_SERVER_NONCE_STORE_H_
#define TOVAK_SERVER_NONCE_STORE_H_

#include <cstdint>
#include <string>

namespace tovak::server {

inline constexpr uint32_t kMaxNoncesPerUser = 65536;

class NonceStore {
 public:
  enum class Outcome { kFresh, kReplayed, kUserFull, kTableFull };

  NonceStore() = default;
  NonceStore(const NonceStore&) = delete;
  NonceStore& operator=(const NonceStore&) = delete;
  ~NonceStore();

  // Maps the table: the file at path (created private to this user; refused
  // when someone else may access it or another server holds it), or memory
  // when path is empty. false with a message on failure.
  bool Open(const std::string& path, std::string* error);

  // The server's time for a clock reading: the highest reading seen so far.
  int64_t Now(int64_t clock);

  // Records user's nonce of a proof made at time, when it is fresh. now is
  // the server's time (Now).
  Outcome Record(const std::string& user, const std::string& nonce, int64_t time, int64_t now);

 private:
  struct Table;
  Table* table_ = nullptr;
  int fd_ = -1;  // the file, locked against other servers; -1 in memory
};

}  // namespace tovak::server

#endif  // TOVAK_SERVER_NONCE_STORE_H_
