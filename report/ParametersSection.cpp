#include "html/Escape.h"
#include "html/Markup.h"
#include "html/NumberFormat.h"
#include "report/ChildWalk.h"
#include "report/Sections.h"
#include "xml/XmlNumbers.h"

#include <cmath>

namespace {

// A removed variable is shown by its label, or by its name when it has no label.
std::string displayName(const XmlNode& variable) {
    const std::string_view label = variable.attribute("label");
    return Escape::text(label.empty() ? variable.attribute("name") : label);
}

}  // namespace

void writeTechnicalParameters(PageSink& page, const XmlNode& report) {
    const XmlNode config = report.childNamed("ORB_Config");
    Markup::h2(page, "Technical Parameters");
    const int32_t count = config.attributeCount();
    for (int32_t i = 0; i < count; ++i) {
        page << Escape::text(config.attributeNameAt(i)) << " = " << Escape::text(config.attributeValueAt(i))
             << "<br/>";
        // A line feed after every tenth parameter keeps the source of the page readable.
        if ((i + 1) % 10 == 0)
            page << "\n";
    }
    page << "<br/>\n";
    const XmlNode description = config.childNamed("DescriptionFile");
    if (!description.isEmpty())
        page << "   Description file: \n  " << Escape::text(description.textAt(0)) << "\n <br/>\n";
    page << "\n";
}

void writePrunedVariables(PageSink& page, const XmlNode& report) {
    Markup::h2(page, "Variables that have been pruned");
    page << "<p>";
    forEachChildNamed(report.childNamed("PrunedVar"), "Var",
                      [&](const XmlNode& variable) { page << displayName(variable) << "<br/>"; });
    page << "</p>";
}

void writeSuspiciousVariables(PageSink& page, const XmlNode& report) {
    Markup::h2(page, "Suspicious Variables (removed because AUCuniv > AUCmax)");
    const XmlNode list = report.childNamed("VariableAboveAUCMax");
    // Every bar is scaled by the first variable's AUC, so a later, larger one overflows its band.
    const double scale = parseDoubleOr(list.childNamed("Var").attribute("auc"), 0.0);
    forEachChildNamed(list, "Var", [&](const XmlNode& variable) {
        const double auc = parseDoubleOr(variable.attribute("auc"), 0.0);
        page << "<p><div>";
        Markup::bar(page, std::fabs(auc), scale, 100);
        page << "&nbsp;&nbsp;&nbsp;" << NumberFormat::g(auc) << "% : " << displayName(variable) << "</div></p>\n";
    });
}

void writeIgnoredVariables(PageSink& page, const XmlNode& report) {
    Markup::h2(page, "Variable Ignored");
    page << "\n";
    const XmlNode list = report.childNamed("IgnoredVariable");
    // A long list goes on one line; the separator follows the last name too.
    const char* separator = list.childCountNamed("Var") > 30 ? " ," : "<br/>";
    forEachChildNamed(list, "Var", [&](const XmlNode& variable) { page << displayName(variable) << separator; });
}
