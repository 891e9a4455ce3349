// Whatever dictionary the server sends, as a user, a classroom or a course: filling records ends well, what a record
// writes fills an equal one, and merging it into the record itself changes nothing.

#include <orvnetwork/course/OrvCourseModel.h>
#include <orvnetwork/data/Json.h>
#include <orvnetwork/data/JsonEquality.h>
#include <orvnetwork/data/PropertyList.h>
#include <orvnetwork/session/OrvUserInfoModel.h>
#include <orvnetwork/session/WXUserInfoModel.h>

#include <tests/fuzz/Require.h>

#include <string>

namespace {

using namespace orv;
using orv::test::require;

/// What holds for a record of any class.
template <typename T>
void checkForm(T& record) {
  const json::object values = record.jsonObject();
  require(sameJson(values, record.jsonObject()), "the JSON form is the same each time");
  const auto again = makeRecord<T>(values);
  require(sameJson(values, again->jsonObject()),
          "a record that is filled from a JSON form has the same form");
  record.merge(values);
  require(sameJson(values, record.jsonObject()), "merging a record's own JSON form changes nothing");

  const Result<std::string> written = writeJsonCompact(values);
  if (written) {
    const Result<json::value> read = parseJson(*written);
    require(static_cast<bool>(read), "what was written can be read");
    require(sameJson(values, makeRecord<T>(&*read)->jsonObject()), "the JSON form survives its text");
  } else {
    require(written.error().description == "arrays and dictionaries are nested too deep",
            "the JSON form can be written");
  }
  if (const Result<std::string> list = writePropertyList(values); list) {
    const Result<json::value> read = readPropertyList(*list);
    require(static_cast<bool>(read), "a property list that was written can be read");
    require(sameJson(values, makeRecord<T>(&*read)->jsonObject()), "the JSON form survives a property list");
  }
  record.description();
}

/// What holds for a record that can be copied and archived.
template <typename T>
void checkCopies(const T& record) {
  const auto copy = record.copyWithZone();
  require(record.isEqual(copy.get()) && copy->isEqual(&record), "a copy is equal");
  require(record.hash() == copy->hash(), "a copy has the same hash");
  require(sameJson(record.jsonObject(), copy->jsonObject()), "a copy has the same JSON form");

  KeyedArchive archive;
  record.encodeWithCoder(archive);
  KeyedArchive again;
  T::initWithCoder(archive)->encodeWithCoder(again);
  require(sameJson(archive.values(), again.values()), "an archive survives a restored record");
}

void checkUser(const json::object& values) {
  const auto user = makeRecord<OrvUserInfoModel>(values);
  const auto twin = makeRecord<OrvUserInfoModel>(values);
  twin->classroominfo = user->classroominfo;
  require(user->isEqual(twin.get()), "users of the same values are equal");
  require(user->hash() == twin->hash(), "equal users have equal hashes");
  checkForm(*user);
  checkCopies(*user);
  if (const auto classroom = user->classroominfo.get()) checkForm(*classroom);
}

void checkCourse(const json::object& values) {
  const auto course = makeRecord<OrvCourseModel>(values);
  require(course->isEqual(makeRecord<OrvCourseModel>(values).get()), "courses of the same values are equal");
  // The stored length becomes the one that reads; from then on nothing changes.
  checkForm(*course);
  checkCopies(*course);
}

/// What holds for a dictionary that is merged into a record that is there.
void checkMerge(const json::object& first, const json::object& second) {
  const auto record = makeRecord<OrvCourseModel>(first);
  record->merge(second);
  const json::object once = record->jsonObject();
  record->merge(second);
  require(sameJson(once, record->jsonObject()), "merging a dictionary twice is merging it once");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  const Result<json::value> result = parseJson({reinterpret_cast<const char*>(data), size});
  if (!result) return 0;
  require((makeRecord<OrvCourseModel>(&*result) != nullptr) == result->is_object(),
          "records are made of dictionaries only");
  json::array page;
  if (const json::array* const items = result->if_array()) {
    page = *items;
  } else {
    page.push_back(*result);
  }
  const json::object* before = nullptr;
  for (const json::value& item : page) {
    const json::object* const values = item.if_object();
    if (values == nullptr) continue;
    checkUser(*values);
    checkCourse(*values);
    checkForm(*makeRecord<OrvClassroomInfo>(*values));
    checkForm(*makeRecord<WXUserInfoModel>(*values));
    if (before != nullptr) checkMerge(*before, *values);
    before = values;
  }
  return 0;
}
