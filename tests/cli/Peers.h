#pragma once

#include <string>
#include <thread>

namespace orv::test {

/// Writes a certificate that signs itself, and its key, into one file, whose path is returned. `names` are its alternative
/// names, and its days are counted from now.
std::string makeCertificate(const std::string& name, const char* names, long fromDay, long toDay);

/// Takes connections and never says a word.
class SilentServer {
 public:
  SilentServer();
  ~SilentServer();
  SilentServer(const SilentServer&) = delete;
  SilentServer& operator=(const SilentServer&) = delete;
  const std::string& url() const { return url_; }

 protected:
  int listener_;

 private:
  std::string url_;
};

/// Takes one connection after the other, waits for the end of a request's head, answers it with the same text each time, and
/// ends the connection.
class AnsweringServer : public SilentServer {
 public:
  explicit AnsweringServer(std::string answer);
  ~AnsweringServer();

 private:
  void serve();

  const std::string answer_;
  std::thread thread_;
};

}  // namespace orv::test
