// The front end of every public lookup: the protocol is decided once (see
// isTovakProtocolV2), then the lookup runs on the remote server or on the
// databases directly. Back ends are named RemoteX and DirectX.
#ifndef TOVAK_ACCESS_DISPATCH_H_
#define TOVAK_ACCESS_DISPATCH_H_

#include "access/state.h"
#include "tovak/remote_client.h"
#include "tovak/tovak.h"

namespace tovak {

// True when lookups go to the remote server rather than the databases.
inline bool UsesRemoteServer(const char* server) {
  return isTovakProtocolV2(server) == kProtocolV2;
}

// Runs remote(client) with the connected remote client and returns its
// status, or TOVAK_E_NO_REMOTE when no client could be set up.
template <class Remote>
int WithRemoteClient(const char* server, Remote&& remote) {
  CmonoMirvoDataClient* client = tDataClientSetup(server);
  if (client == nullptr) return TOVAK_E_NO_REMOTE;
  return remote(*client);
}

// remote(client) on the remote server, or direct() on the databases.
template <class Remote, class Direct>
int Dispatch(const char* server, Remote&& remote, Direct&& direct) {
  if (UsesRemoteServer(server)) return WithRemoteClient(server, remote);
  return direct();
}

}  // namespace tovak

#endif  // TOVAK_ACCESS_DISPATCH_H_
