#pragma once
// Markup pieces that several page sections share.

#include "html/PageSink.h"

namespace Markup {

// A level-2 heading after a line feed: text written as it is, style (when given) as the
// element's style attribute.
void h2(PageSink& page, std::string_view text, std::string_view style = {});
// A level-3 heading: text as an anchor of id when id is not empty, escaped text otherwise; an
// annotation (when not empty) is shown with text on hovering.
void h3(PageSink& page, std::string_view text, std::string_view id, std::string_view annotation);
// A link to the anchor of id, and that anchor: text shown as inline markup, id escaped as an
// attribute value.
void link(PageSink& page, std::string_view text, std::string_view id);
void anchor(PageSink& page, std::string_view text, std::string_view id);
// The element that the modality chart of the variable idx is drawn into, wide enough for
// modalityCount columns.
void chartContainer(PageSink& page, std::string_view idx, int modalityCount);
// A bar width pixels wide (plus its border) filled in proportion to value / maximum; empty
// when that proportion gives no finite 32-bit width (a zero maximum, say).
void bar(PageSink& page, double value, double maximum, int width);

}  // namespace Markup
