// A whole host on a terminal: signs in, fills its lists, tells how the link and the session stand, makes a local course
// and deletes it, and ends when another device logs it out.
//
//   classroom ws://127.0.0.1:PORT MOBILE PASSWORD

#include <orvnetwork/orvnetwork.h>

#include <iostream>
#include <string>
#include <string_view>
#include <utility>

namespace {

/// Prints how a list fills, to its end.
class ListView {
 public:
  ListView(std::string name, orv::CourseList list) : name_(std::move(name)), list_(std::move(list)) {
    changed_ = list_.onChanged([this](const orv::CourseListChange& change) { show(change); });
  }
  /// Needs a user and a link; what an earlier run has stored is shown without.
  void fill() {
    isFilling_ = true;
    list_.loadMore();
  }

 private:
  void show(const orv::CourseListChange& change) {
    if (change.changesRows()) std::cout << name_ << ": " << list_.size() << " courses" << std::endl;
    if (change.state.error) std::cout << name_ << ": " << change.state.error->text << std::endl;
    if (isFilling_ && list_.canLoadMore() && list_.size() > 0) list_.loadMore();
    if (list_.atEnd() && change.stateBefore != change.state) std::cout << name_ << ": complete" << std::endl;
  }

  const std::string name_;
  orv::CourseList list_;
  bool isFilling_ = false;
  orv::Subscription changed_;
};

class Classroom {
 public:
  Classroom(orv::Client& client, std::string mobile, std::string password) : session_(client.session()) {
    link_ = client.link().onChanged(
        [](const orv::LinkChange& change) { std::cout << change.now.sentence() << std::endl; });
    changed_ = session_.onChanged([this](const orv::SessionChange& change) { sessionChanged(change.now); });
    life_ = live(std::move(mobile), std::move(password));
  }

 private:
  orv::Pending<> live(std::string mobile, std::string password) {
    auto signingIn = session_.signIn(std::move(mobile), std::move(password));
    const orv::SignInResult signedIn = co_await signingIn;
    if (!signedIn) co_return end(signedIn.text());
    recorded_.fill();
    live_.fill();
    auto making = courses_.create({{"title", "Algebra"}});
    const orv::LocalCourses::Answer made = co_await making;
    if (!made) co_return end(made.error().description);
    std::cout << "made " << (*made)->roomID << std::endl;
    auto removing = courses_.remove((*made)->roomID);
    const auto removed = co_await removing;
    std::cout << (removed ? "removed it" : removed.error().description) << std::endl;
  }

  void sessionChanged(const orv::SessionInfo& session) {
    std::cout << "session: " << session.sentence() << std::endl;
    if (session.state == orv::SessionState::TakenOver) end("another device has logged this one out");
  }

  void end(std::string_view why) {
    std::cout << why << std::endl;
    orv::MainQueue::instance().stop();
  }

  orv::SessionStatus& session_;
  orv::LocalCourses courses_;
  ListView recorded_{"recorded", orv::CourseList::recorded()};
  ListView live_{"live", orv::CourseList::live(1)};
  orv::Subscription link_, changed_;
  orv::Pending<> life_;  // the last member: it uses all others
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) return std::cerr << "usage: classroom URL MOBILE PASSWORD\n", 1;
  orv::ClientOptions options;
  options.server = argv[1];
  options.version = "1.0";
  options.build = "1";
  const auto client = orv::Client::start(options);
  if (!client) return std::cerr << client.error().description << '\n', 1;
  const Classroom classroom(**client, argv[2], argv[3]);
  orv::MainQueue::instance().run();
}
