// The process-wide remote client and the library's release function.
#include "remote/grpc_client.h"

CmonoMirvoDataClient* CmonoMirvoDataClient::getInstance() {
  // Never destroyed: gRPC's own globals may be gone by the time static
  // objects are torn down at exit.
  static CmonoMirvoDataClient* instance = new tovak::remote::GrpcDataClient;
  return instance;
}

void tovakRelease() { CmonoMirvoDataClient::getInstance()->Disconnect(); }
