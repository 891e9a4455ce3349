#pragma once

#include <orvnetwork/data/Export.h>
#include <orvnetwork/data/PropertyListLimits.h>
#include <orvnetwork/data/Result.h>
#include <orvnetwork/data/Types.h>

#include <string>
#include <vector>

/// @file
/// Property lists: the form in which the library keeps its files, and in which a desktop's own tools keep theirs. What
/// they hold is what JSON holds, save null; see `KeyedArchive.h` for records, and `PropertyListFile.h` of the platform
/// for files.
///
///     const json::object lesson{{"title", "Algebra"}, {"marks", {1, 2.5}}};
///     Result<std::string> text = writePropertyList(lesson);
///     if (!text) return tell(text.error().description);      // such as "marks[1] is null, which …"
///     Result<json::value> back = readPropertyList(*text);     // equal to what was written

namespace orv {

/// Domain of every error of the property-list reader and writer.
inline constexpr std::string_view kPropertyListErrorDomain = "OrvPropertyList";
/// Their code; the description tells them apart.
inline constexpr std::int64_t kPropertyListErrorCode = 3840;

/// Reads a property list in its XML form (UTF-8) or in its binary form ("bplist00").
///
/// Integers come as signed 64-bit numbers, those above 2^63 - 1 as unsigned ones; reals come as doubles, NaN
/// and the infinities among them. Of members with the same key the last one counts.
///
/// A list counts as damaged when it holds dates, data or any element that is not a property list's, a number
/// that is none or that does not fit, or text that is not UTF-8 or has a zero byte; when its arrays and
/// dictionaries are nested deeper than `kMaxPropertyListDepth`; when it is larger than `kMaxPropertyListSize`; and
/// when it stands for more than that, since a binary list can name one value any number of times. The locale of the
/// process has no say.
///
/// An XML list must also be well-formed, and declare nothing of its own: an entity that XML does not know by itself
/// is damage, and nothing outside the list is looked at. Control characters and line ends in its text stay as they
/// are, its attributes mean nothing, and the encoding that its head names does not count. Any thread.
ORV_EXPORT Result<json::value> readPropertyList(std::string_view bytes);

/// Writes an XML property list in UTF-8: the keys of each dictionary in the order of their UTF-16 code units,
/// a tab a level below the root, and a line feed at the end. Reals have 17 significant digits, so that they
/// read back as the same number (a negative zero as zero); they stay reals when they are whole.
///
/// Errors, whose description names the place as in `data.list[3].name`: a null anywhere, text or a key that
/// is not UTF-8 or holds a zero byte, nesting deeper than `kMaxPropertyListDepth`, a text larger than
/// `kMaxPropertyListSize`. Any thread.
ORV_EXPORT Result<std::string> writePropertyList(const json::value& value);
/// The same without making a value of the dictionary first.
ORV_EXPORT Result<std::string> writePropertyList(const json::object& dictionary);
/// The same without making a value of the array first.
ORV_EXPORT Result<std::string> writePropertyList(const json::array& array);

/// A property list, and what is missing in it.
struct PartialPropertyList {
  std::string text;
  /// Where something was left out, and why, such as "data.list[3].name holds a zero byte"; never the value itself.
  std::vector<std::string> leftOut;
};

/// Writes all of a dictionary that a property list can hold, for what must be stored whatever somebody else put into
/// it. What would be an error of `writePropertyList` is left out: the member or the element, no more around it. An error
/// only when the memory does not suffice. Any thread.
ORV_EXPORT Result<PartialPropertyList> writePartialPropertyList(const json::object& dictionary);
/// The same for an array. What follows on an element that is left out moves up.
ORV_EXPORT Result<PartialPropertyList> writePartialPropertyList(const json::array& array);

}  // namespace orv
