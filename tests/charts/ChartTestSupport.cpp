#include "ChartTestSupport.h"

#include "TestSupport.h"

#include <QProcess>
#include <QRegularExpression>

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>

namespace ChartTest {

QString base64Doubles(const std::vector<double>& values, int extraBytes) {
    QByteArray bytes;
    for (double value : values) {
        auto bits = std::bit_cast<uint64_t>(value);
        for (int k = 0; k < 8; ++k, bits >>= 8)
            bytes.append(static_cast<char>(bits & 0xFF));
    }
    bytes.append(extraBytes, '\0');
    return QString::fromLatin1(bytes.toBase64());
}

QString curve(const QString& name, const std::vector<double>& x, const std::vector<double>& y) {
    return QStringLiteral("<%1><x>%2</x><y>%3</y></%1>")
        .arg(name, base64Doubles(x), base64Doubles(y));
}

std::vector<double> indices(int count) {
    std::vector<double> values;
    for (int i = 0; i < count; ++i)
        values.push_back(i);
    return values;
}

XmlNode parse(const QString& text, std::string_view rootTag) {
    XmlParseResult result;
    const QByteArray bytes = text.toUtf8();
    XmlNode root = XmlNode::parseString(std::string_view(bytes.constData(), static_cast<size_t>(bytes.size())),
                                        rootTag, &result);
    EXPECT_EQ(result.error, XmlError::None) << "line " << result.line << " column "
                                            << result.column;
    return root;
}

QString render(const std::function<void(PageSink&)>& write) {
    std::string out;
    {
        PageSink page([&](std::string_view bytes) { return out.append(bytes), true; });
        write(page);
    }
    return QString::fromStdString(out);
}

QString renderLift(const XmlNode& chartRoot, const char* kind) {
    PointListCache lists;
    return render([&](PageSink& page) { writeLiftChart(page, chartRoot, kind, kind, lists); });
}

QString renderPrediction(const XmlNode& curves, const char* kind) {
    return render([&](PageSink& page) { writePredictionChart(page, curves, kind, kind); });
}

QString renderModality(const XmlNode& variable, bool binaryTarget) {
    return render([&](PageSink& page) { writeModalityChart(page, variable, binaryTarget); });
}

QString between(const QString& text, const QString& from, const QString& to) {
    const qsizetype start = text.indexOf(from);
    if (start < 0)
        return QStringLiteral("<no %1>").arg(from);
    const qsizetype begin = start + from.size();
    return text.mid(begin, text.indexOf(to, begin) - begin);
}

std::vector<double> pointXs(const std::string& pointList) {
    std::vector<double> xs;
    for (size_t at = pointList.find('['); at != std::string::npos;
         at = pointList.find('[', at + 1))
        xs.push_back(std::stod(pointList.substr(at + 1, pointList.find(',', at) - at - 1)));
    return xs;
}

QStringList inlineScripts(const QString& page) {
    QStringList scripts;
    static const QRegularExpression open(QStringLiteral("<script[^>]*>"),
                                         QRegularExpression::CaseInsensitiveOption);
    qsizetype at = 0;
    QRegularExpressionMatch match;
    while ((match = open.match(page, at)).hasMatch()) {
        const qsizetype start = match.capturedEnd();
        const qsizetype end = page.indexOf(QStringLiteral("</script"), start, Qt::CaseInsensitive);
        if (end < 0) {
            scripts << page.mid(start) + QStringLiteral("\n@unterminated script element@");
            break;
        }
        scripts << page.mid(start, end - start);
        at = end;
    }
    return scripts;
}

QString scriptErrors(const QStringList& scripts, bool* skipped) {
    *skipped = false;
    TestSupport::TempDir dir;
    QStringList files;
    for (qsizetype i = 0; i < scripts.size(); ++i) {
        files << dir.file(QStringLiteral("script%1.js").arg(i));
        TestSupport::writeFile(files.back(), scripts[i].toUtf8());
    }
    // Each script is compiled, then run against stand-ins of jQuery and Highcharts, so that
    // the chart options are evaluated too: a bare nan or inf there is valid syntax but fails
    // as an unknown name.
    const QString check = QStringLiteral(
        "const vm = require('vm'), fs = require('fs');"
        "for (const f of process.argv.slice(1)) {"
        "  const chain = new Proxy(function () {}, {"
        "    get: () => chain,"
        "    apply: (target, self, args) => {"
        "      for (const a of args) if (typeof a === 'function') a();"
        "      return chain;"
        "    }"
        "  });"
        "  const context = {$: chain, document: {}, Highcharts: {Chart: function () {}}};"
        "  try {"
        "    new vm.Script(fs.readFileSync(f, 'utf8'), {filename: f})"
        "        .runInNewContext(context, {timeout: 10000});"
        "  } catch (e) { console.log(f + ': ' + e.message); }"
        "}");
    QProcess node;
    node.start(QStringLiteral("node"), QStringList{QStringLiteral("-e"), check} + files);
    if (!node.waitForFinished(60000) || node.exitStatus() != QProcess::NormalExit) {
        *skipped = true;
        return {};
    }
    return QString::fromUtf8(node.readAllStandardOutput());
}

}  // namespace ChartTest
