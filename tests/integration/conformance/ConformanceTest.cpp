// The cases of the usual conformance suite, against a server that speaks the protocol by hand.

#include "ConformanceCase.h"
#include <tests/support/WebSocketFixture.h>

#include <exception>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace orv::conformance_test {
namespace {

using namespace test;

/// One case, from the handshake to the end of the stream.
class Trial {
 public:
  Trial(const ConformanceCase& tried, RawListener& listener, PumpedExecutor& mainQueue)
      : tried_(tried), mainQueue_(mainQueue), socket_({listener.url(), Seconds(60), nullptr}, mainQueue) {
    RawPeer peer = listener.accept();
    peer.acceptHandshake();
    sendPieces(peer);
    if (!tried.isEndIncluded) finish(peer);
    EXPECT_TRUE(socket_.waitForEnd(mainQueue_));
    readUntilClose(peer);
    EXPECT_TRUE(peer.readEnd());
    peer.close();
    compare(socket_.eventsAfterAll(mainQueue_));
  }

 private:
  const Events& told() const { return socket_.delegate.events; }
  void sendPieces(RawPeer& peer) {
    try {
      for (const std::string& piece : tried_.pieces) peer.send(piece);
    } catch (const std::exception&) {
      // The client has closed at a fault, and what came behind it was refused.
      if (!tried_.isEndIncluded) throw;
    }
  }
  /// All has been told and answered; then the server closes.
  void finish(RawPeer& peer) {
    EXPECT_TRUE(mainQueue_.pumpUntil(
        [this] { return told().size() > tried_.events.size() || socket_.delegate.ended(); }));
    const std::size_t echoes = tried_.isEchoed ? tried_.events.size() : 0;
    for (std::size_t i = 0; i < echoes; ++i) {
      const std::string& event = told().at(i + 1);
      socket_->send(std::make_shared<const std::string>(event.substr(event.find(' ') + 1)));
    }
    while (pongs_.size() < tried_.pongs.size() || echoed_.size() < echoes) {
      if (!readFrame(peer)) break;
    }
    peer.send(closeFrame(1000));
  }
  void readUntilClose(RawPeer& peer) {
    while (readFrame(peer)) {
    }
  }
  /// Whether more may follow.
  bool readFrame(RawPeer& peer) {
    const auto frame = peer.readFrame();
    if (!frame) return false;
    EXPECT_TRUE(frame->masked && frame->fin);
    if (frame->opcode == opcode::kPong) {
      pongs_.push_back(frame->payload);
    } else if (frame->opcode == opcode::kText) {
      echoed_.push_back("text " + frame->payload);
    } else {
      EXPECT_EQ(frame->opcode, opcode::kClose);
      answer_ = frame->closeCode();
      return false;
    }
    return true;
  }
  /// Long payloads are not printed.
  void compare(const Events& seen) const {
    Events events = {"opened"};
    events.insert(events.end(), tried_.events.begin(), tried_.events.end());
    events.push_back(tried_.end);
    EXPECT_TRUE(seen == events) << seen.size() << " events";
    EXPECT_EQ(seen.back(), tried_.end);
    EXPECT_EQ(answer_, tried_.answer);
    EXPECT_EQ(pongs_, tried_.pongs);
    if (tried_.isEchoed) compareEchoes();
  }

  /// What is binary comes back as text: the client sends nothing else.
  void compareEchoes() const {
    Events messages;
    for (const std::string& event : tried_.events) {
      messages.push_back("text " + event.substr(event.find(' ') + 1));
    }
    EXPECT_TRUE(echoed_ == messages) << echoed_.size() << " messages came back";
  }

  const ConformanceCase& tried_;
  PumpedExecutor& mainQueue_;
  OwnSocket socket_;
  Events pongs_;
  Events echoed_;
  int answer_ = 0;
};

class Conformance : public ::testing::Test {
 protected:
  void expectAll(const ConformanceCases& cases) {
    for (const ConformanceCase& tried : cases) {
      SCOPED_TRACE("case " + tried.number);
      Trial(tried, listener_, mainQueue_);
      if (HasFatalFailure()) return;
    }
  }

 private:
  PumpedExecutor mainQueue_;
  RawListener listener_;
};

TEST_F(Conformance, Framing) {
  expectAll(framingCases());
}

TEST_F(Conformance, PingsAndPongs) {
  expectAll(pingCases());
}

TEST_F(Conformance, ReservedBitsAndOpcodes) {
  expectAll(reservedCases());
}

TEST_F(Conformance, Fragments) {
  expectAll(fragmentCases());
}

TEST_F(Conformance, Utf8InFragments) {
  expectAll(utf8FragmentCases());
}

TEST_F(Conformance, Utf8Sequences) {
  expectAll(utf8SequenceCases());
}

TEST_F(Conformance, Closing) {
  expectAll(closeCases());
}

TEST_F(Conformance, Sizes) {
  expectAll(sizeCases());
}

TEST(ConformanceTable, HasEachCaseOnce) {
  std::set<std::string> numbers;
  std::size_t count = 0;
  for (const auto& cases : {framingCases(), pingCases(), reservedCases(), fragmentCases(),
                            utf8FragmentCases(), utf8SequenceCases(), closeCases(), sizeCases()}) {
    for (const ConformanceCase& one : cases) numbers.insert(one.number);
    count += cases.size();
  }
  EXPECT_EQ(count, 301u);
  EXPECT_EQ(numbers.size(), count);
}

}  // namespace
}  // namespace orv::conformance_test
