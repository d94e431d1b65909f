// Whole runs held against pages made independently of this code: one case per folder of
// tests/golden. A folder holds the run's inputs (links stay links), `args`, optionally `limit`
// (the largest file the run may write, in bytes), and `expected/` with `stdout`, `rc`, `page`
// (the page's path, its expected bytes beside it, the resources it carries shown as @name@)
// and `side` (the side folder's path). The page of each run is left in
// <build>/golden/<case>.actual.html for diffing.

#include "RunCheck.h"

#include <vector>

namespace {

using TestSupport::readFile;

const QString goldenDir = TestSupport::sourceDir() + QStringLiteral("/tests/golden/");

QString note(const QString& path) { return QString::fromUtf8(readFile(path)).trimmed(); }

// Empty when equal; otherwise the first differing line, numbered from 1.
std::string firstDifference(const QByteArray& actual, const QByteArray& expected) {
    const QList<QByteArray> a = actual.split('\n');
    const QList<QByteArray> e = expected.split('\n');
    for (qsizetype i = 0; i < std::max(a.size(), e.size()); ++i) {
        const QByteArray al = i < a.size() ? a[i] : QByteArray("<end of file>");
        const QByteArray el = i < e.size() ? e[i] : QByteArray("<end of file>");
        if (al != el)
            return "line " + std::to_string(i + 1) + "\n  expected: " + el.left(300).toStdString() +
                   "\n  actual:   " + al.left(300).toStdString();
    }
    return actual == expected ? std::string() : "same lines, different bytes";
}

class GoldenPageTest : public testing::TestWithParam<std::string> {};

TEST_P(GoldenPageTest, RunMatchesExpected) {
    const QString caseDir = goldenDir + QString::fromStdString(GetParam());
    const QString expected = caseDir + QStringLiteral("/expected/");
    TestSupport::TempDir work;
    // Everything but the expectations and notes, so that the run sees only its inputs.
    QProcess::execute(QStringLiteral("cp"), {QStringLiteral("-a"), caseDir + QStringLiteral("/."), work.path()});
    QDir(work.file("expected")).removeRecursively();
    for (const char* notes : {"args", "about", "limit"})
        QFile::remove(work.file(QString::fromLatin1(notes)));
    const RunCheck::Outcome outcome{note(caseDir + QStringLiteral("/args")).split(u' ', Qt::SkipEmptyParts),
                                    note(caseDir + QStringLiteral("/limit")).toLongLong(),
                                    readFile(expected + QStringLiteral("stdout")).toStdString(),
                                    note(expected + QStringLiteral("rc")).toInt(),
                                    note(expected + QStringLiteral("page")), note(expected + QStringLiteral("side"))};

    QByteArray page = RunCheck::checkRun(work.path(), outcome);

    if (outcome.page.isEmpty())
        return;
    TestSupport::writeFile(TestSupport::binaryDir() + "/golden/" + QString::fromStdString(GetParam()) + ".actual.html",
                           page);
    for (const char* name : {"logo.png", "orbi.min.js", "excanvas.compiled.js"}) {
        const QByteArray bytes = readFile(QStringLiteral(":/rscFiles/") + name);
        page.replace(name == std::string("logo.png") ? bytes.toBase64() : bytes, '@' + QByteArray(name) + '@');
    }
    const std::string difference = firstDifference(page, readFile(expected + QFileInfo(outcome.page).fileName()));
    EXPECT_TRUE(difference.empty()) << "page differs at " << difference;
}

std::vector<std::string> caseNames() {
    std::vector<std::string> names;
    for (const QString& name : QDir(goldenDir).entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name))
        names.push_back(name.toStdString());
    return names;
}

INSTANTIATE_TEST_SUITE_P(Golden, GoldenPageTest, testing::ValuesIn(caseNames()),
                         [](const auto& row) { return RunCheck::testName(row.param); });

}  // namespace
