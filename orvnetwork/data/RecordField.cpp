#include "orvnetwork/data/RecordField.h"

namespace orv::detail {

void setText(Property<OptionalString>& field, const JsonView& text) {
  if (text.isPlainText()) {
    field.set(OptionalString(std::in_place, text.source()));
  } else {
    field.set(text.text());
  }
}

}  // namespace orv::detail
