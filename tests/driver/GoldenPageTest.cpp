// Whole runs held against pages made independently of this code: one case per folder of
// tests/golden. A folder holds the run's inputs (links stay links), `args`, optionally `limit`
// (the largest file the run may write, in bytes), and `expected/` with `stdout`, `rc`, `page`
// (the page's path, its expected bytes beside it) and `side` (the side folder's path). Apart
// from the page and the three files of the side folder, the run must leave its folder exactly
// as it found it, and the page must pass check-page-scripts.mjs. The page of each run is left
// in <build>/golden/<case>.actual.html for diffing.

#include "RunCheck.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cctype>
#include <string>
#include <vector>

namespace {

using TestSupport::readFile;

const QString goldenDir = TestSupport::sourceDir() + QStringLiteral("/tests/golden");
const QString resourceNames[] = {QStringLiteral("logo.png"), QStringLiteral("orbi.min.js"),
                                 QStringLiteral("excanvas.compiled.js")};

QByteArray resource(const QString& name) { return readFile(QStringLiteral(":/rscFiles/") + name); }

std::vector<std::string> caseNames() {
    std::vector<std::string> names;
    for (const QString& name : QDir(goldenDir).entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name))
        names.push_back(name.toStdString());
    return names;
}

// Everything of the case but its expectations, so that the run sees only its inputs.
void copyInputs(const QString& from, const QString& to) {
    QDirIterator it(from, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QFileInfo source(it.next());
        const QString relative = QDir(from).relativeFilePath(source.filePath());
        const QString target = to + u'/' + relative;
        if (relative.startsWith(QStringLiteral("expected")) || QStringList{"args", "about", "limit"}.contains(relative))
            continue;
        if (source.isSymLink())
            QFile::link(source.symLinkTarget(), target);
        else if (source.isDir())
            QDir().mkpath(target);
        else
            TestSupport::writeFile(target, readFile(source.filePath()));
    }
}

QString trimmed(const QByteArray& bytes) { return QString::fromUtf8(bytes).trimmed(); }

std::string excerpt(const QByteArray& line) { return line.left(300).toStdString(); }

// Empty when equal; otherwise the first differing line, numbered from 1.
std::string firstDifference(const QByteArray& actual, const QByteArray& expected) {
    const QList<QByteArray> a = actual.split('\n');
    const QList<QByteArray> e = expected.split('\n');
    for (qsizetype i = 0; i < std::max(a.size(), e.size()); ++i) {
        const QByteArray al = i < a.size() ? a[i] : QByteArray("<end of file>");
        const QByteArray el = i < e.size() ? e[i] : QByteArray("<end of file>");
        if (al != el)
            return "line " + std::to_string(i + 1) + "\n  expected: " + excerpt(el) +
                   "\n  actual:   " + excerpt(al);
    }
    return actual == expected ? std::string() : "same lines, different bytes";
}

// A page that carries the resources shows each as @name@ in its expected form, which stays
// small and readable.
QByteArray withResourceMarks(QByteArray page) {
    for (const QString& name : resourceNames) {
        const QByteArray bytes = name.endsWith(u".png") ? resource(name).toBase64() : resource(name);
        page.replace(bytes, '@' + name.toUtf8() + '@');
    }
    return page;
}

class GoldenPageTest : public testing::TestWithParam<std::string> {};

TEST_P(GoldenPageTest, RunMatchesExpected) {
    const QString caseDir = goldenDir + u'/' + QString::fromStdString(GetParam());
    const QString expected = caseDir + QStringLiteral("/expected/");
    TestSupport::TempDir work;
    copyInputs(caseDir, work.path());
    RunCheck::Snapshot unchanged = RunCheck::snapshot(work.path());
    const QStringList args = trimmed(readFile(caseDir + QStringLiteral("/args"))).split(u' ', Qt::SkipEmptyParts);

    const TestSupport::RunResult run =
        RunCheck::run(args, work.path(), trimmed(readFile(caseDir + QStringLiteral("/limit"))).toULongLong());

    EXPECT_EQ(run.exitCode, trimmed(readFile(expected + QStringLiteral("rc"))).toInt());
    EXPECT_EQ(run.out.toStdString(), readFile(expected + QStringLiteral("stdout")).toStdString());
    EXPECT_TRUE(run.err.isEmpty()) << run.err.toStdString();
    RunCheck::Snapshot after = RunCheck::snapshot(work.path());

    const QString page = trimmed(readFile(expected + QStringLiteral("page")));
    if (!page.isEmpty()) {
        ASSERT_TRUE(QFileInfo(work.file(page)).isFile()) << "no page " << page.toStdString();
        const QByteArray actual = readFile(work.file(page));
        TestSupport::writeFile(TestSupport::binaryDir() + QStringLiteral("/golden/") +
                                   QString::fromStdString(GetParam()) + QStringLiteral(".actual.html"), actual);
        const QByteArray marked = withResourceMarks(actual);
        const std::string difference = firstDifference(marked, readFile(expected + QFileInfo(page).fileName()));
        EXPECT_TRUE(difference.empty()) << "page differs at " << difference;
        // The library inside a page needs a browser; the browser tests open such a page.
        if (!actual.isEmpty() && marked == actual) {
            EXPECT_EQ(RunCheck::pageErrors(work.file(page), 2), "");
        }
        unchanged[page.toStdString()] = after[page.toStdString()];
    }
    const QString side = trimmed(readFile(expected + QStringLiteral("side")));
    if (!side.isEmpty()) {
        unchanged[side.toStdString()] = "folder";
        for (const QString& name : resourceNames)
            unchanged[(side + u'/' + name).toStdString()] = RunCheck::digest(resource(name));
    }
    EXPECT_EQ(after, unchanged) << "the run left other changes than its page and side folder";
}

std::string testName(const testing::TestParamInfo<std::string>& info) {
    std::string name = info.param;
    for (char& c : name)
        if (!std::isalnum(static_cast<unsigned char>(c)))
            c = '_';
    return name;
}

INSTANTIATE_TEST_SUITE_P(Golden, GoldenPageTest, testing::ValuesIn(caseNames()), testName);

}  // namespace
