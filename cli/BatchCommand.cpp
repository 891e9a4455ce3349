#include <orvnetwork/data/Json.h>
#include <orvnetwork/platform/MainQueue.h>
#include <orvnetwork/platform/Timer.h>

#include "cli/CliError.h"
#include "cli/Commands.h"
#include "cli/ExitCode.h"
#include "cli/Host.h"
#include "cli/LineReader.h"
#include "cli/Output.h"
#include "cli/Request.h"
#include "cli/TerminalText.h"

#include <unistd.h>

#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orv::cli {

namespace {

/// Requests that are under way at a time, with those whose answers wait for an earlier one.
constexpr std::size_t kMaxOutstanding = 256;

/// One line of the input, read.
struct BatchLine {
  const Operation* operation = nullptr;
  std::vector<Object> arguments;
};

Result<BatchLine> readBatchLine(const std::string& text) {
  const Result<json::value> parsed = parseJson(text);
  if (!parsed) return cliError("not JSON: " + parsed.error().text());
  const json::object* object = parsed->if_object();
  const json::value* name = object != nullptr ? object->if_contains("operation") : nullptr;
  const json::value* arguments = object != nullptr ? object->if_contains("args") : nullptr;
  const std::size_t known = (name != nullptr ? 1U : 0U) + (arguments != nullptr ? 1U : 0U);
  if (name == nullptr || !name->is_string() || (arguments != nullptr && !arguments->is_array()) ||
      object->size() != known) {
    return cliError(R"({"operation":"…","args":[…]} is expected)");
  }
  const Result<const Operation*> found = findOperation(std::string_view(name->get_string()));
  if (!found) return found.error();
  BatchLine line{*found, {}};
  if (arguments != nullptr) {
    for (const json::value& argument : arguments->get_array()) {
      line.arguments.emplace_back(json::value(argument));
    }
  }
  if (const std::string problem = line.operation->problemWith(line.arguments); !problem.empty()) {
    return cliError(problem);
  }
  return line;
}

/// Sends the requests of a batch and prints the answers in the order of the lines. Main thread.
class Batch {
 public:
  explicit Batch(Output& output) : output_(output) {}

  void read(int descriptor) {
    reader_ = std::make_unique<LineReader>(
        descriptor, kMaxOutstanding,
        [this](LineReader::Line line) {
          auto shared = std::make_shared<LineReader::Line>(std::move(line));
          MainQueue::instance().post([this, shared] { take(*shared); });
        },
        [this] {
          MainQueue::instance().post([this] {
            atEnd_ = true;
            Host::notice();
          });
        });
  }

  /// Nothing comes any more, or nobody reads the answers.
  bool over() const { return (atEnd_ && slots_.empty()) || output_.failed(); }

  /// Answers what has no answer yet.
  void interrupt() {
    reader_.reset();
    for (auto& slot : slots_) {
      if (!slot->answer) {
        slot->answer =
            noReply(slot->operation->name, commandOf(*slot->operation, slot->arguments), "interrupted");
      }
    }
    printAnswered();
  }

  ExitCode code() const { return code_; }

 private:
  struct Slot {
    const Operation* operation = nullptr;
    std::vector<Object> arguments;
    std::optional<Answer> answer;
  };

  void take(const LineReader::Line& line) {
    if (!line.tooLong && isBlank(line.text)) return reader_->giveBack();
    const auto slot = std::make_shared<Slot>();
    slots_.push_back(slot);
    Result<BatchLine> read = line.tooLong ? cliError("too long") : readBatchLine(line.text);
    if (!read) {
      slot->answer = wrongUse("line " + std::to_string(line.number) + ": " + read.error().description);
      return printAnswered();
    }
    slot->operation = read->operation;
    slot->arguments = std::move(read->arguments);
    unsent_.push_back(slot);
    if (!pacer_) sendNext();
  }

  /// Sends one request and comes back for the next one.
  void sendNext() {
    pacer_.reset();
    if (unsent_.empty()) return;
    const auto slot = unsent_.front();
    unsent_.pop_front();
    request(*slot->operation, slot->arguments, [this, slot](Answer answer) {
      slot->answer = std::move(answer);
      printAnswered();
    });
    pacer_ = Timer::schedule(kRequestsApart, false, [this] { sendNext(); });
  }

  void printAnswered() {
    while (!slots_.empty() && slots_.front()->answer) {
      const Answer answer = *std::move(slots_.front()->answer);
      slots_.pop_front();
      output_.line(answer.line);
      code_ = worse(code_, answer.code);
      if (reader_) reader_->giveBack();
    }
    if (over()) Host::notice();
  }

  Output& output_;
  /// All that have not been printed, and those of them that have not been sent.
  std::deque<std::shared_ptr<Slot>> slots_, unsent_;
  /// Runs while the next request has to wait.
  std::shared_ptr<Timer> pacer_;
  bool atEnd_ = false;
  ExitCode code_ = ExitCode::Success;
  // Last, so that it ends first.
  std::unique_ptr<LineReader> reader_;
};

}  // namespace

ExitCode run(const BatchCommand&, Context& context) {
  Host& host = context.host();
  Batch batch(context.output);
  // Without a link each request is answered so; what is wrong with a line is told all the same.
  const bool isUp = host.openLink();
  if (!isUp && !host.interrupted()) {
    writeAll(STDERR_FILENO, "orv: " + printable(host.noLinkMessage()) + "\n");
  }
  if (!host.interrupted()) batch.read(STDIN_FILENO);
  host.runUntil([&batch] { return batch.over(); });
  batch.interrupt();
  return host.interrupted() ? worse(batch.code(), ExitCode::NoReply) : batch.code();
}

}  // namespace orv::cli
