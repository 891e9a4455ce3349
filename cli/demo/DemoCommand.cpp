#include "cli/Commands.h"
#include "cli/ExitCode.h"
#include "cli/Host.h"
#include "cli/demo/Steps.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

namespace orv::cli {

namespace {

/// The tour lasts about 14 s; what has not begun by then is not run.
constexpr double kLatestStart = 20;

struct Step {
  const char* title;
  void (*run)(demo::Tour&);
  /// Without it the rest of the tour makes no sense.
  bool needed = false;
};

constexpr std::array<Step, 20> kSteps{{
    {"The embedded classroom server starts", demo::serverStarts, true},
    {"The link opens: network, PING, PONG", demo::linkOpens, true},
    {"A request is answered", demo::requestIsAnswered},
    {"Many requests are under way at once", demo::requestsOverlap},
    {"A request without a session is held", demo::requestIsHeld, true},
    {"A wrong password is refused", demo::passwordIsRefused},
    {"A teacher logs in", demo::userLogsIn},
    {"The session is renewed, and the held request goes out again", demo::heldRequestIsSentAgain},
    {"The catalogue is loaded, page by page", demo::catalogueIsLoaded},
    {"A course is recorded, published and confirmed", demo::courseIsPublished},
    {"A lesson is held, from its creation to its end", demo::lessonIsHeld},
    {"Another device signs in", demo::otherDeviceSignsIn},
    {"Pushes of the server become notifications", demo::pushesArrive},
    {"Garbage does no harm", demo::garbageIsDropped},
    {"A reply is lost", demo::replyIsLost, true},
    {"The link is lost and comes back", demo::linkIsLost},
    {"The request without a reply times out", demo::requestTimesOut},
    {"The teacher logs out", demo::userLogsOut},
    {"The rolling log has it all", demo::logIsRead},
    {"What is on the disk", demo::diskIsShown},
}};

std::string makeTemporaryHome() {
  std::string folder = (std::filesystem::temp_directory_path() / "orv-demo-XXXXXX").string();
  if (::mkdtemp(folder.data()) == nullptr) throw std::system_error(errno, std::generic_category(), folder);
  return folder;
}

/// Runs the steps in their order.
void runSteps(demo::Tour& tour) {
  bool goOn = true;
  for (const Step& step : kSteps) {
    goOn = goOn && !tour.host.interrupted() && tour.stage.elapsed() < kLatestStart;
    if (!goOn) {
      tour.stage.skipped(step.title);
      continue;
    }
    tour.stage.step(step.title);
    step.run(tour);
    goOn = tour.stage.endStep() || !step.needed;
  }
}

}  // namespace

ExitCode run(const DemoCommand&, Context& context) {
  const Options& options = context.options;
  const std::string home = options.home ? *options.home : makeTemporaryHome();
  if (!options.home) settleIn(home);
  Host& host = context.host();
  demo::Stage stage(context.output);
  stage.title("OrvNetwork: a tour of the library on its embedded server");
  stage.note("Home of this run: " + home +
             (options.home ? "" : " (a temporary one, left for you to look at)"));
  stage.note("Times are seconds since the start. Passwords and tokens are shown as ***.");
  demo::Tour tour(host, stage);
  runSteps(tour);
  const bool good = stage.summary();
  if (host.interrupted()) return ExitCode::NoReply;
  return good ? ExitCode::Success : ExitCode::WrongUse;
}

}  // namespace orv::cli
