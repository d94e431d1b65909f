#include "html/Markup.h"

#include "html/Escape.h"
#include "html/NumberFormat.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

namespace Markup {
namespace {

void labelElement(PageSink& page, const char* start, std::string_view text, std::string_view id) {
    page << start << Escape::attribute(id) << "\" >" << Escape::inlineMarkup(text) << "</A>";
}

}  // namespace

void h2(PageSink& page, std::string_view text, std::string_view style) {
    page << "\n<H2 ";
    if (!style.empty())
        page << "style=\"" << style << "\"";
    page << ">" << text << "</H2>";
}

void h3(PageSink& page, std::string_view text, std::string_view id, std::string_view annotation) {
    page << "\n\t<H3 ";
    // The texts sit in single-quoted script strings inside a double-quoted attribute: escaped
    // for the script first, then for the attribute.
    if (!annotation.empty())
        page << " onmouseover=\"annotationShow(this,'" << Escape::text(Escape::scriptString(annotation)) << "','"
             << Escape::text(Escape::scriptString(text)) << "')\" onmouseout=\"annotationHide(this)\" ";
    page << " >";
    if (!id.empty())
        anchor(page, text, id);
    else
        page << Escape::text(text);
    page << "\n\t</H3>";
}

void link(PageSink& page, std::string_view text, std::string_view id) {
    labelElement(page, "<A  href=\"#label_", text, id);
}

void anchor(PageSink& page, std::string_view text, std::string_view id) {
    labelElement(page, "<A  name=\"label_", text, id);
}

void chartContainer(PageSink& page, std::string_view idx, int modalityCount) {
    // Wide charts get half the room per modality rather than a scroll bar.
    long long width = std::max(800LL, 30LL * modalityCount);
    if (width > 1024)
        width = std::max(800LL, 15LL * modalityCount);
    page << "<div id=\"container" << Escape::attribute(idx) << "\" style=\"width: " << NumberFormat::integer(width)
         << "px; height: 450px; margin: 0 auto\"></div>";
}

void bar(PageSink& page, double value, double maximum, int width) {
    const int outer = width + 2;
    const double product = std::floor(value / maximum * outer);
    const int filled = std::isfinite(product) && product >= std::numeric_limits<int32_t>::min() &&
                               product <= std::numeric_limits<int32_t>::max()
                           ? static_cast<int>(product)
                           : 0;
    page << "<div style=\"width:" << outer << "px;\" class=\"sparkContainer\" >"
         << "<div style=\"width:" << outer << "px;\" class=\"sparkLB\" >"
         << "<div style=\"width:" << filled << "px;\" class=\"sparkBl\" ></div></div></div>";
}

}  // namespace Markup
