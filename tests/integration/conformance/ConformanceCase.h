#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace orv::test {

/// What a server sends to a client whose rules are being tried, and what the client must make of it. Cases have the
/// numbers of the conformance suite that implementations of RFC 6455 are usually tried with.
struct ConformanceCase {
  std::string number;
  /// Each is sent by itself.
  std::vector<std::string> pieces;
  /// What the host is told, the opening and the end left out.
  std::vector<std::string> events;
  /// Payloads of the pongs that the client answers with.
  std::vector<std::string> pongs;
  /// The code in the client's close frame.
  int answer = 1000;
  /// How the host is told of the end.
  std::string end = "closed 1000 (absent) clean";
  /// The pieces bring the end, by a close frame or a fault; otherwise the server closes when all has been answered.
  bool isEndIncluded = false;
  /// The host sends each message back, as text.
  bool isEchoed = false;
};

using ConformanceCases = std::vector<ConformanceCase>;
using Pieces = std::vector<std::string>;

Pieces together(const Pieces& frames);
/// Cuts the stream after every `size` bytes.
Pieces inChops(const Pieces& frames, std::size_t size = 1);

std::string textFrame(std::string_view payload, bool isLast = true);
std::string moreFrame(std::string_view payload, bool isLast = true);
std::string binaryFrame(std::string_view payload, bool isLast = true);
std::string pingFrame(std::string_view payload);
std::string closeFrame(int code, std::string_view reason = "");
/// A message in fragments of `size` bytes.
Pieces inFragments(int op, std::string_view payload, std::size_t size);

/// What is right.
ConformanceCase good(std::string number, Pieces pieces, std::vector<std::string> events,
                     std::vector<std::string> pongs = {});
/// A breach of the protocol, or with 1007 of UTF-8, behind what is right.
ConformanceCase fault(std::string number, Pieces pieces, std::vector<std::string> events = {},
                      int answer = 1002);
/// The server closes.
ConformanceCase closing(std::string number, Pieces pieces, int answer, std::string end,
                        std::vector<std::string> events = {});

ConformanceCases framingCases();       // 1
ConformanceCases pingCases();          // 2
ConformanceCases reservedCases();      // 3 and 4
ConformanceCases fragmentCases();      // 5
ConformanceCases utf8FragmentCases();  // 6.1 to 6.4
ConformanceCases utf8SequenceCases();  // 6.5 to 6.23
ConformanceCases closeCases();         // 7
ConformanceCases sizeCases();          // 9 and 10

}  // namespace orv::test
