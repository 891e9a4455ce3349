#pragma once

#include <orvnetwork/orvnetwork.h>

#include <concepts>
#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <string_view>

/// What the pieces of code in the documents and in the headers' comments take for granted.
namespace snippet {

/// Shows something to a person.
void show(std::string_view text);
void show(const orv::CourseListChange& change);
void show(const orv::OrvCourseModel& course);
template <std::same_as<orv::json::value> Value>
void show(const Value& value);
void showCourses(const orv::OrvUserInfoModel& user);

/// What a person has typed.
std::string mobile();
std::string password();

/// Something that is worked on elsewhere.
struct Image {};
struct Worker {
  template <typename Done>
  void decode(const std::string&, Done done) {
    done(Image());
  }
};
inline Worker worker;

struct Banner {
  void hide();
  void showAfter(orv::Seconds span, const std::string& text);
};

struct View {
  void remove(std::size_t first, std::size_t count);
  void insert(std::size_t first, std::span<const orv::CourseRows::Row> rows);
  void move(std::size_t from, std::size_t to);
  void layOutAnew(const orv::CourseRowsPointer& rows);
  void repaint(std::size_t first, std::size_t count);
};

/// An application, one of whose member functions a piece may be.
struct Application {
  void fail(const std::string& text);
  void open(const orv::LocalCourses::Course& course);

  std::unique_ptr<orv::Client> client;
  orv::CourseList list = orv::CourseList::recorded();
  orv::LocalCourses courses;
  orv::CourseListChange change;
  orv::Reply reply;
  std::string path;
  Banner banner_;
  View view;
  orv::Subscription shown_;
  orv::PendingCallback creating_;
};

}  // namespace snippet

using snippet::Image;
using snippet::mobile;
using snippet::password;
using snippet::show;
using snippet::showCourses;
using snippet::worker;
