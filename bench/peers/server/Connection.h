#pragma once

#include "bench/peers/server/Replies.h"

#include <cstddef>
#include <memory>
#include <string>

namespace peers {

/// One client of the server, on a socket that does not block. It speaks WebSocket when it begins as HTTP does, else plain
/// TCP: requests of 300 bytes, replies of 400.
///
/// All requests of one read are answered in one write. What the socket does not take waits, however much it is, and
/// reading goes on: so a client may write as much as it likes before it reads.
class Connection {
 public:
  /// Takes the socket over. `pushes` are sent after the client's first PING has been answered.
  Connection(int socket, std::size_t pushes);
  ~Connection();
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  int socket() const { return socket_; }
  /// Reads once and answers what has come. False when the connection is over.
  bool read();
  /// Writes what waits. False when the connection is over.
  bool write();
  bool hasToWrite() const { return written_ < out_.size() || (pushing_ && pushed_ < pushes_); }

 private:
  enum class Kind { Unknown, WebSocket, Plain };

  /// Each takes what is whole from the beginning of what has come and tells how much that was.
  std::size_t takeAll();
  std::size_t takeHandshake();
  std::size_t takeFrame(char* bytes, std::size_t size);
  void takeMessage(unsigned char opcode, const char* payload, std::size_t size);
  void addPushes();

  const int socket_;
  const std::size_t pushes_;
  std::size_t pushed_ = 0;
  bool pushing_ = false;
  Kind kind_ = Kind::Unknown;
  bool over_ = false;
  /// What has come and is not whole yet stands at the front.
  const std::unique_ptr<char[]> in_;
  std::size_t held_ = 0;
  std::string out_;
  std::size_t written_ = 0;
  Replies replies_;
};

}  // namespace peers
