#include "orvnetwork/platform/native/websocket/ConnectRecorder.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace orv {

SteadyTime ConnectRecorder::steadyNow() {
  return std::chrono::steady_clock::now();
}

void ConnectRecorder::start() {
  const std::lock_guard lock(mutex_);
  if (!whole_.begun) whole_.begun = now_();
}

void ConnectRecorder::stop() {
  const std::lock_guard lock(mutex_);
  if (!whole_.ended) whole_.ended = now_();
}

void ConnectRecorder::begin(ConnectStep step) {
  const std::lock_guard lock(mutex_);
  Span& span = steps_[static_cast<std::size_t>(step)];
  if (!whole_.ended && !span.begun) span.begun = now_();
}

void ConnectRecorder::end(ConnectStep step) {
  const std::lock_guard lock(mutex_);
  Span& span = steps_[static_cast<std::size_t>(step)];
  if (!whole_.ended && span.begun && !span.ended) span.ended = now_();
}

void ConnectRecorder::addressFound(const std::string& address) {
  const std::lock_guard lock(mutex_);
  std::vector<std::string>& known = report_.addresses;
  if (whole_.ended || known.size() == kMostAddresses) return;
  if (std::ranges::find(known, address) == known.end()) known.push_back(address);
}

void ConnectRecorder::tryBegan(std::string address) {
  const std::lock_guard lock(mutex_);
  if (whole_.ended) return;
  tries_.push_back({now_(), {}});
  AddressAttempt& attempt = report_.attempts.emplace_back();
  attempt.address = std::move(address);
  attempt.begun = Seconds(*tries_.back().begun - whole_.begun.value_or(*tries_.back().begun));
}

/// The try of this number if it is under way.
ConnectRecorder::Span* ConnectRecorder::openTry(std::size_t number) {
  if (whole_.ended || number >= tries_.size() || tries_[number].ended) return nullptr;
  return &tries_[number];
}

void ConnectRecorder::tryWon(std::size_t number) {
  const std::lock_guard lock(mutex_);
  Span* const span = openTry(number);
  if (span == nullptr) return;
  span->ended = now_();
  report_.attempts[number].won = true;
}

void ConnectRecorder::tryFailed(std::size_t number, Error error) {
  const std::lock_guard lock(mutex_);
  Span* const span = openTry(number);
  if (span == nullptr) return;
  span->ended = now_();
  report_.attempts[number].error = std::move(error);
}

void ConnectRecorder::tryGivenUp(std::size_t number) {
  const std::lock_guard lock(mutex_);
  if (Span* const span = openTry(number)) span->ended = now_();
}

void ConnectRecorder::openTriesFailed(const Error& error) {
  const std::lock_guard lock(mutex_);
  for (std::size_t i = 0; i < tries_.size(); ++i) {
    Span* const span = openTry(i);
    if (span == nullptr) continue;
    span->ended = now_();
    report_.attempts[i].error = error;
  }
}

void ConnectRecorder::goesThrough(std::string shownProxy) {
  const std::lock_guard lock(mutex_);
  if (!whole_.ended) report_.throughProxy = std::move(shownProxy);
}

void ConnectRecorder::tlsAgreed(std::string version, std::string cipher, bool resumed) {
  const std::lock_guard lock(mutex_);
  if (whole_.ended) return;
  report_.tlsVersion = std::move(version);
  report_.tlsCipher = std::move(cipher);
  report_.tlsResumed = resumed;
}

void ConnectRecorder::chainCame(std::vector<CertificateSummary> chain) {
  const std::lock_guard lock(mutex_);
  if (!whole_.ended) report_.chain = std::move(chain);
}

void ConnectRecorder::tlsBytes(std::size_t bytes) {
  const std::lock_guard lock(mutex_);
  if (!whole_.ended) report_.tlsBytes = bytes;
}

void ConnectRecorder::answered(int status, std::optional<WallTime> serverDate, WallTime at) {
  const std::lock_guard lock(mutex_);
  if (whole_.ended) return;
  report_.httpStatus = status;
  report_.serverDate = serverDate;
  report_.answeredAt = at;
}

void ConnectRecorder::answeredWith(std::vector<AnswerHeader> headers) {
  const std::lock_guard lock(mutex_);
  if (!whole_.ended) report_.answerHeaders = std::move(headers);
}

/// How long it has taken until its end, the whole's end, or now.
std::optional<Seconds> ConnectRecorder::lengthOf(const Span& span) const {
  if (!span.begun) return std::nullopt;
  if (span.ended) return Seconds(*span.ended - *span.begun);
  return Seconds(whole_.ended.value_or(now_()) - *span.begun);
}

ConnectReport ConnectRecorder::report() const {
  const std::lock_guard lock(mutex_);
  ConnectReport report = report_;
  report.name = lengthOf(spanOf(ConnectStep::Name));
  report.connect = lengthOf(spanOf(ConnectStep::Connect));
  report.proxy = lengthOf(spanOf(ConnectStep::Proxy));
  report.tls = lengthOf(spanOf(ConnectStep::Tls));
  report.upgrade = lengthOf(spanOf(ConnectStep::Upgrade));
  for (std::size_t i = 0; i < tries_.size(); ++i) report.attempts[i].took = *lengthOf(tries_[i]);
  return report;
}

}  // namespace orv
