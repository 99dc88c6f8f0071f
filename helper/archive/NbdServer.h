#pragma once

#include <thread>

#include "base/Expected.h"
#include "helper/archive/BlockView.h"
#include "platform/posix/FileDescriptor.h"

namespace zpk {

// Serves a view to one client over a pair of connected sockets, in the NBD protocol, which qemu's programs speak.
// Nothing listens anywhere: whoever does not get the client's end cannot reach it.
//
// The part of the protocol that is spoken (all numbers big-endian):
//
//   server   "NBDMAGIC" "IHAVEOPT", flags (2 bytes): 3, fixed newstyle, no zeros
//   client   flags (4)
//   client   "IHAVEOPT", option (4), length (4), data; for each
//   server   0x3e889045565a9, option (4), answer (4), length (4), data
//              option 7 (go)    answer 3 (info): 0 (2), size (8), flags (2); then answer 1 (done)
//              option 2 (abort) answer 1; any other: answer 0x80000001 (unknown)
//   client   0x25609513, flags (2), command (2), handle (8), place (8), length (4), data of a write
//   server   0x67446698, error (4), handle (8), data of a read
//              commands 0 read, 1 write, 2 end, 3 flush
class NbdServer {
 public:
  // The error is an errno. The view outlives the server.
  static Expected<NbdServer, int> start(BlockView& view);
  NbdServer(NbdServer&&) = default;
  NbdServer& operator=(NbdServer&&) = delete;
  // Hangs up and waits for the view to be left alone.
  ~NbdServer();

  // To be handed to the client.
  int clientEnd() const { return _client.get(); }
  // Once the client has its own descriptor of it, so that the server notices when the client goes.
  void closeClientEnd() { _client.reset(); }

 private:
  NbdServer(FileDescriptor server, FileDescriptor client, BlockView& view);

  FileDescriptor _server;
  FileDescriptor _client;
  std::thread _thread;
};

}  // namespace zpk
