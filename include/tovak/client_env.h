// Library configuration: KEY=VALUE settings read by the library.
#ifndef TOVAK_CLIENT_ENV_H_
#define TOVAK_CLIENT_ENV_H_

#include "tovak/export.h"

class TOVAK_EXPORT CtovakDescriptor {
 public:
  // Loads the library's configuration so that CClientEnvironment::getEnv
  // sees it. Cheap to call again.
  static void SetEnv();
};

class TOVAK_EXPORT CClientEnvironment {
 public:
  // The configured value of key, or null. The text stays valid for the life
  // of the process.
  static const char* getEnv(const char* key);
};

#endif  // TOVAK_CLIENT_ENV_H_
