// What the index and setup connections share: CRDBComm's open() and
// is_open() over the current PgConnection, and the process-wide instance.
#ifndef TOVAK_DB_PG_COMM_H_
#define TOVAK_DB_PG_COMM_H_

#include <memory>

#include "db/pg_connection.h"

namespace tovak::db {

// Base is the interface of rdb.h; Derived has connection() (the current
// PgConnection) and Configure(ConnectionParams) (makes them its target).
template <class Base, class Derived>
class PgComm : public Base {
 public:
  int open() override { return self().connection().Open(); }
  bool is_open() const override { return static_cast<const Derived&>(*this).connection().IsOpen(); }

  // The process-wide instance; null until the first Setup().
  static Derived* Instance() { return Slot().get(); }
  // Creates the instance on first use and makes these parameters its target.
  static void Setup(const char* host, const char* port, const char* database, const char* user,
                    const char* password) {
    std::unique_ptr<Derived>& slot = Slot();
    if (!slot) slot = std::make_unique<Derived>();
    slot->Configure(MakeParams(host, port, database, user, password));
  }

 private:
  Derived& self() { return static_cast<Derived&>(*this); }
  static std::unique_ptr<Derived>& Slot() {
    static std::unique_ptr<Derived> instance;
    return instance;
  }
};

}  // namespace tovak::db

#endif  // TOVAK_DB_PG_COMM_H_
