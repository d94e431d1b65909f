#include "report/ReportGenerator.h"

#include "html/NumberFormat.h"
#include "html/XmlText.h"
#include "report/ChildWalk.h"

#include <cmath>
#include <cstdint>

namespace {

// A removed variable is shown by its label, or by its name when it has no label.
QString displayName(const XmlNode& variable) {
    const QString label = xmlText(variable.attribute("label"));
    return HtmlWriter::escapeHtml(label.isEmpty() ? xmlText(variable.attribute("name")) : label);
}

}  // namespace

void ReportGenerator::writeTechnicalParameters() {
    const XmlNode config = reportRoot.childNamed("ORB_Config");
    writeH2(QStringLiteral("Technical Parameters"));
    const int32_t count = config.attributeCount();
    for (int32_t i = 0; i < count; ++i) {
        *this << escapeHtml(xmlText(config.attributeNameAt(i))) << " = "
              << escapeHtml(xmlText(config.attributeValueAt(i))) << "<br/>";
        // A line feed after every tenth parameter keeps the source of the page readable.
        if ((i + 1) % 10 == 0)
            *this << "\n";
    }
    *this << "<br/>\n";
    const XmlNode description = config.childNamed("DescriptionFile");
    if (!description.isEmpty())
        *this << "   Description file: \n  " << escapeHtml(xmlText(description.textAt(0)))
              << "\n <br/>\n";
    *this << "\n";
}

void ReportGenerator::writePrunedVariables() {
    writeH2(QStringLiteral("Variables that have been pruned"));
    *this << "<p>";
    forEachChildNamed(reportRoot.childNamed("PrunedVar"), "Var", [this](const XmlNode& variable) {
        *this << displayName(variable) << "<br/>";
    });
    *this << "</p>";
}

void ReportGenerator::writeSuspiciousVariables() {
    writeH2(QStringLiteral("Suspicious Variables (removed because AUCuniv > AUCmax)"));
    const XmlNode list = reportRoot.childNamed("VariableAboveAUCMax");
    // Every bar is scaled by the first variable's AUC, so a later, larger one overflows its band.
    const double scale = parseDoubleOr(list.childNamed("Var").attribute("auc"), 0.0);
    forEachChildNamed(list, "Var", [this, scale](const XmlNode& variable) {
        const double auc = parseDoubleOr(variable.attribute("auc"), 0.0);
        *this << "<p><div>";
        writeBar(std::fabs(auc), scale, 100);
        *this << "&nbsp;&nbsp;&nbsp;" << NumberFormat::g(auc) << "% : " << displayName(variable)
              << "</div></p>\n";
    });
}

void ReportGenerator::writeIgnoredVariables() {
    writeH2(QStringLiteral("Variable Ignored"));
    *this << "\n";
    const XmlNode list = reportRoot.childNamed("IgnoredVariable");
    // A long list goes on one line; the separator follows the last name too.
    const char* separator = list.childCountNamed("Var") > 30 ? " ," : "<br/>";
    forEachChildNamed(list, "Var", [this, separator](const XmlNode& variable) {
        *this << displayName(variable) << separator;
    });
}
