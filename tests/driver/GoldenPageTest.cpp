// Whole runs held against pages made independently of this code: one case per folder of
// tests/golden (its inputs, `args`, and `expected/` with stdout, rc, page and side). The page
// of each run is left in <build>/golden/<case>.actual.html for diffing.

#include "PrintBytes.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cctype>
#include <map>
#include <string>
#include <vector>

namespace {

// Cases skipped until the page sections they exercise are in the program. Empty when every
// section has landed.
const std::map<std::string, std::string> casesAwaitingSections = {
};

const QString goldenDir = TestSupport::sourceDir() + QStringLiteral("/tests/golden");

std::vector<std::string> caseNames() {
    std::vector<std::string> names;
    for (const QString& name : QDir(goldenDir).entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name))
        names.push_back(name.toStdString());
    return names;
}

// Everything of the case but its expectations, so that the run sees only its inputs.
void copyInputs(const QString& from, const QString& to) {
    QDirIterator it(from, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString source = it.next();
        const QString relative = QDir(from).relativeFilePath(source);
        if (relative.startsWith(QStringLiteral("expected/")))
            continue;
        TestSupport::writeFile(to + u'/' + relative, TestSupport::readFile(source));
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

void keepActualPage(const std::string& name, const QByteArray& page) {
    const QString path = TestSupport::binaryDir() + QStringLiteral("/golden/") +
                         QString::fromStdString(name) + QStringLiteral(".actual.html");
    TestSupport::writeFile(path, page);
}

class GoldenPageTest : public testing::TestWithParam<std::string> {};

TEST_P(GoldenPageTest, RunMatchesExpected) {
    const std::string name = GetParam();
    if (const auto pending = casesAwaitingSections.find(name); pending != casesAwaitingSections.end())
        GTEST_SKIP() << pending->second;
    const QString caseDir = goldenDir + u'/' + QString::fromStdString(name);
    const QString expected = caseDir + QStringLiteral("/expected/");
    TestSupport::TempDir work;
    copyInputs(caseDir, work.path());
    const QStringList args = trimmed(TestSupport::readFile(caseDir + QStringLiteral("/args")))
                                 .split(u' ', Qt::SkipEmptyParts);

    const TestSupport::RunResult run = TestSupport::runAnarep(args, work.path());

    EXPECT_EQ(run.exitCode, trimmed(TestSupport::readFile(expected + QStringLiteral("rc"))).toInt());
    EXPECT_EQ(run.out.toStdString(), TestSupport::readFile(expected + QStringLiteral("stdout")).toStdString());
    EXPECT_TRUE(run.err.isEmpty()) << run.err.toStdString();

    const QString page = trimmed(TestSupport::readFile(expected + QStringLiteral("page")));
    if (!page.isEmpty()) {
        ASSERT_TRUE(QFileInfo(work.file(page)).isFile()) << "no page " << page.toStdString();
        const QByteArray actual = TestSupport::readFile(work.file(page));
        keepActualPage(name, actual);
        const std::string difference =
            firstDifference(actual, TestSupport::readFile(expected + QFileInfo(page).fileName()));
        EXPECT_TRUE(difference.empty()) << "page differs at " << difference;
    }

    const QString side = trimmed(TestSupport::readFile(expected + QStringLiteral("side")));
    if (!side.isEmpty()) {
        for (const char* resource : {"logo.png", "orbi.min.js", "excanvas.compiled.js"})
        {
            const QByteArray copy = TestSupport::readFile(work.file(side) + u'/' + QString::fromUtf8(resource));
            const QByteArray embedded = TestSupport::readFile(QStringLiteral(":/rscFiles/") + QString::fromUtf8(resource));
            EXPECT_FALSE(copy.isEmpty()) << resource;
            EXPECT_EQ(copy, embedded) << resource;
        }
    } else if (!args.isEmpty()) {
        EXPECT_FALSE(QFileInfo::exists(work.file(args.first().chopped(4) + QStringLiteral("_files"))))
            << "a side directory was created";
    }
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
