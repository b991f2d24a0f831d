#include "server/nonce_store.h"

#include <fcntl.h>
#include <openssl/rand.h>
#include <pthread.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "remote/call_auth.h"
#include "remote/file_text.h"

namespace tovak::server {
namespace {

constexpr int64_t kWindow = remote::kAuthWindowSeconds;
// Nonces live in buckets of 8 slots; a nonce goes to the first free slot of
// the 4 buckets from its hash on.
constexpr size_t kBuckets = 65536, kSlotsPerBucket = 8, kProbeBuckets = 4;
// Per user, the number of nonces recorded in each 30-second slice of proof
// time; 24 slices cover every time a live nonce can have (2 windows).
constexpr size_t kUsers = 4096, kUserProbes = 64, kSlices = 24;
constexpr int64_t kSliceSeconds = 30;
static_assert(kSlices * kSliceSeconds > 2 * kWindow + kSliceSeconds);
constexpr char kMagic[16] = "tovak-nonces-1";

struct Slot {
  int64_t time;  // of the proof; 0: never used
  uint64_t user;
  unsigned char nonce[remote::kNonceBytes];
};

struct Quota {
  uint64_t user;  // 0: never used
  int64_t slice[kSlices];
  uint32_t count[kSlices];
};

bool Live(int64_t time, int64_t now) { return time != 0 && time >= now - kWindow; }

// Nonces Quota holds whose time may still be in the window.
uint32_t LiveCount(const Quota& quota, int64_t now) {
  uint32_t count = 0;
  for (size_t i = 0; i < kSlices; ++i) {
    if ((quota.slice[i] + 1) * kSliceSeconds > now - kWindow) count += quota.count[i];
  }
  return count;
}

// Holds a process-shared robust mutex; one left locked by a worker that died
// is taken over (the table stays usable: a slot is written before it counts).
class Lock {
 public:
  explicit Lock(pthread_mutex_t* mutex) : mutex_(mutex) {
    if (pthread_mutex_lock(mutex_) == EOWNERDEAD) pthread_mutex_consistent(mutex_);
  }
  ~Lock() { pthread_mutex_unlock(mutex_); }
  Lock(const Lock&) = delete;
  Lock& operator=(const Lock&) = delete;

 private:
  pthread_mutex_t* mutex_;
};

}  // namespace

struct NonceStore::Table {
  char magic[sizeof kMagic];
  uint64_t size;             // sizeof(Table): a table of other dimensions starts afresh
  unsigned char secret[32];  // keys the hashes: nobody can aim nonces at one bucket
  int64_t highWater;
  pthread_mutex_t mutex;
  Slot slots[kBuckets * kSlotsPerBucket];
  Quota quotas[kUsers];

  // A 64-bit hash of the fields under the secret; never 0.
  uint64_t Hash(const std::string& a, const std::string& b = "") const {
    std::string input(reinterpret_cast<const char*>(secret), sizeof secret);
    input += std::to_string(a.size()) + ":" + a + b;
    const std::string digest = remote::Sha256(input);
    uint64_t hash = 0;
    std::memcpy(&hash, digest.data(), sizeof hash);
    return hash == 0 ? 1 : hash;
  }

  Quota* QuotaOf(uint64_t user, int64_t now) {
    Quota* spare = nullptr;
    for (size_t i = 0; i < kUserProbes; ++i) {
      Quota& quota = quotas[(user + i) % kUsers];
      if (quota.user == user) return &quota;
      if (spare == nullptr && (quota.user == 0 || LiveCount(quota, now) == 0)) spare = &quota;
    }
    if (spare != nullptr) *spare = Quota{user, {}, {}};
    return spare;
  }
};

NonceStore::~NonceStore() {
  if (table_ != nullptr) munmap(table_, sizeof(Table));
  if (fd_ >= 0) close(fd_);
}

bool NonceStore::Open(const std::string& path, std::string* error) {
  void* memory = MAP_FAILED;
  if (path.empty()) {
    memory =
        mmap(nullptr, sizeof(Table), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  } else {
    fd_ = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (fd_ < 0) {
      *error = "nonce_file: cannot open " + path + ": " + std::strerror(errno);
      return false;
    }
    if (!remote::CheckPrivateFile(fd_, path, error)) return false;
    if (flock(fd_, LOCK_EX | LOCK_NB) != 0) {
      *error = "nonce_file: " + path + " is used by another server";
      return false;
    }
    if (ftruncate(fd_, sizeof(Table)) != 0) {
      *error = "nonce_file: cannot size " + path + ": " + std::strerror(errno);
      return false;
    }
    memory = mmap(nullptr, sizeof(Table), PROT_READ | PROT_WRITE, MAP_SHARED, fd_, 0);
  }
  if (memory == MAP_FAILED) {
    *error = std::string("cannot map the nonce table: ") + std::strerror(errno);
    return false;
  }
  table_ = static_cast<Table*>(memory);
  // A table of another layout, or a new one, starts empty with a new secret.
  if (std::memcmp(table_->magic, kMagic, sizeof kMagic) != 0 || table_->size != sizeof(Table)) {
    std::memset(static_cast<void*>(table_), 0, sizeof(Table));
    if (RAND_bytes(table_->secret, sizeof table_->secret) != 1) {
      *error = "no random bytes for the nonce table";
      return false;
    }
    std::memcpy(table_->magic, kMagic, sizeof kMagic);
    table_->size = sizeof(Table);
  }
  // No worker runs yet, and no other server holds the file: the mutex is ours to set up.
  pthread_mutexattr_t attributes;
  pthread_mutexattr_init(&attributes);
  pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED);
  pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST);
  const bool ready = pthread_mutex_init(&table_->mutex, &attributes) == 0;
  pthread_mutexattr_destroy(&attributes);
  if (!ready) *error = "cannot set up the nonce table's lock";
  return ready;
}

int64_t NonceStore::Now(int64_t clock) {
  int64_t seen = __atomic_load_n(&table_->highWater, __ATOMIC_ACQUIRE);
  while (clock > seen && !__atomic_compare_exchange_n(&table_->highWater, &seen, clock, true,
                                                      __ATOMIC_ACQ_REL, __ATOMIC_ACQUIRE)) {
  }
  return clock > seen ? clock : seen;
}

NonceStore::Outcome NonceStore::Record(const std::string& user, const std::string& nonce,
                                       int64_t time, int64_t now) {
  if (nonce.size() != remote::kNonceBytes || time <= 0) return Outcome::kReplayed;
  const uint64_t owner = table_->Hash(user);
  const size_t first = table_->Hash(user, nonce) % kBuckets;
  Lock lock(&table_->mutex);
  Slot* free = nullptr;
  for (size_t b = 0; b < kProbeBuckets; ++b) {
    Slot* bucket = &table_->slots[((first + b) % kBuckets) * kSlotsPerBucket];
    for (Slot* slot = bucket; slot != bucket + kSlotsPerBucket; ++slot) {
      if (!Live(slot->time, now)) {
        if (free == nullptr) free = slot;
      } else if (slot->user == owner && std::memcmp(slot->nonce, nonce.data(), nonce.size()) == 0) {
        return Outcome::kReplayed;
      }
    }
  }
  Quota* quota = table_->QuotaOf(owner, now);
  if (free == nullptr || quota == nullptr) return Outcome::kTableFull;
  if (LiveCount(*quota, now) >= kMaxNoncesPerUser) return Outcome::kUserFull;
  free->time = time;
  free->user = owner;
  std::memcpy(free->nonce, nonce.data(), nonce.size());
  const int64_t slice = time / kSliceSeconds;
  const size_t i = static_cast<size_t>(slice) % kSlices;
  if (quota->slice[i] != slice) {
    quota->slice[i] = slice;
    quota->count[i] = 0;
  }
  ++quota->count[i];
  return Outcome::kFresh;
}

}  // namespace tovak::server
