#include "bench/peers/support/Meter.h"

#include "bench/peers/support/Texts.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <limits>

namespace peers {

namespace {

constexpr std::size_t kMostSamples = 4'000'000;

Order quarterOf(const Order& order) {
  Order quarter = order;
  quarter.time /= 4;
  quarter.requests = order.requests == 0 ? 0 : std::max<std::uint64_t>(order.requests / 4, order.outstanding);
  return quarter;
}

double microseconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_usec);
}

double processorMicroseconds(const rusage& used) {
  return microseconds(used.ru_utime) + microseconds(used.ru_stime);
}

double percentile(std::vector<std::uint32_t> samples, double share) {
  if (samples.empty()) return 0;
  const auto at =
      samples.begin() + static_cast<std::ptrdiff_t>(share * static_cast<double>(samples.size() - 1));
  std::nth_element(samples.begin(), at, samples.end());
  return *at / 1e3;
}

}  // namespace

Meter::Meter(const Order& order)
    : order_(order),
      warmUp_(quarterOf(order)),
      sent_(order.outstanding),
      samples_(order.requests == 0 ? kMostSamples : std::min<std::size_t>(order.requests, kMostSamples)) {}

void Meter::start() {
  now_ = Clock::now();
  begin_ = moment();
}

bool Meter::mayAsk() {
  if (phase_ == Phase::Ended || asked_ - answered_ >= order_.outstanding) return false;
  sent_[newest_] = now_;
  newest_ = newest_ + 1 == sent_.size() ? 0 : newest_ + 1;
  ++asked_;
  return true;
}

void Meter::answered() {
  now_ = Clock::now();
  note(now_ - sent_[oldest_]);
  oldest_ = oldest_ + 1 == sent_.size() ? 0 : oldest_ + 1;
  ++answered_;
  if (phase_ == Phase::Measuring && amountIsReached(order_, begin_)) {
    end_ = moment();
    phase_ = Phase::Ended;
  } else if (phase_ == Phase::WarmingUp && amountIsReached(warmUp_, begin_)) {
    begin_ = moment();
    phase_ = Phase::Measuring;
  }
}

void Meter::answered(std::size_t bytes) {
  if (bytes != kReplyBytes) {
    std::fprintf(stderr, "a reply of %zu bytes\n", bytes);
    std::exit(EXIT_FAILURE);
  }
  answered();
}

Meter::Moment Meter::moment() const {
  Moment here{now_, {}, answered_};
  ::getrusage(RUSAGE_SELF, &here.used);
  return here;
}

bool Meter::amountIsReached(const Order& amount, const Moment& since) const {
  return amount.requests > 0 ? answered_ - since.answered >= amount.requests
                             : now_ - since.time >= amount.time;
}

void Meter::note(std::chrono::nanoseconds took) {
  if (phase_ != Phase::Measuring || sampled_ == samples_.size()) return;
  samples_[sampled_++] = static_cast<std::uint32_t>(
      std::min<std::int64_t>(took.count(), std::numeric_limits<std::uint32_t>::max()));
}

void Meter::print() const {
  const double requests = static_cast<double>(end_.answered - begin_.answered);
  const double seconds = std::chrono::duration<double>(end_.time - begin_.time).count();
  const double used = processorMicroseconds(end_.used) - processorMicroseconds(begin_.used);
  const auto waits = static_cast<double>(end_.used.ru_nvcsw - begin_.used.ru_nvcsw);
  const std::vector<std::uint32_t> samples(samples_.begin(),
                                           samples_.begin() + static_cast<std::ptrdiff_t>(sampled_));
  std::printf(
      "{\"outstanding\": %zu, \"requests\": %.0f, \"seconds\": %.6f, \"p50_us\": %.3f, \"p99_us\": %.3f, "
      "\"per_second\": %.1f, \"cpu_us\": %.4f, \"waits\": %.4f, \"peak_kib\": %ld}\n",
      order_.outstanding, requests, seconds, percentile(samples, 0.5), percentile(samples, 0.99),
      requests / seconds, used / requests, waits / requests, end_.used.ru_maxrss);
}

}  // namespace peers
