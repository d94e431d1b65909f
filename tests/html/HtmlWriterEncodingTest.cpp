// The page file's bytes against those of a Qt text stream fed the same pieces: ASCII is copied
// and the rest encoded, and both must give what the stream gives, piece boundaries included.

#include "html/HtmlWriter.h"

#include "TestSupport.h"

#include <QFile>
#include <QTextStream>

#include <gtest/gtest.h>

#include <string>
#include <variant>
#include <vector>

namespace {

using Piece = std::variant<QString, std::string, const char*, int>;

QByteArray throughWriter(const std::vector<Piece>& pieces, const QString& path) {
    {
        HtmlWriter writer(path, QStringLiteral("p"));
        for (const Piece& piece : pieces)
            std::visit([&](const auto& value) { writer << value; }, piece);
    }
    return TestSupport::readFile(path);
}

QByteArray throughTextStream(const std::vector<Piece>& pieces) {
    QByteArray bytes;
    QTextStream stream(&bytes, QIODevice::WriteOnly);
    stream.setEncoding(QStringConverter::Utf8);
    stream.setGenerateByteOrderMark(false);
    for (const Piece& piece : pieces) {
        if (const auto* text = std::get_if<QString>(&piece))
            stream << *text;
        else if (const auto* utf8 = std::get_if<std::string>(&piece))
            stream << QString::fromUtf8(utf8->data(), static_cast<qsizetype>(utf8->size()));
        else if (const auto* literal = std::get_if<const char*>(&piece))
            stream << QString::fromUtf8(*literal);
        else
            stream << QString::number(std::get<int>(piece));
    }
    stream.flush();
    return bytes;
}

TEST(HtmlWriterEncodingTest, PageBytesMatchATextStreamFedTheSamePieces) {
    const QChar high(char16_t{0xD83D});
    const QChar low(char16_t{0xDE00});
    const std::vector<std::vector<Piece>> cases = {
        {QStringLiteral("plain "), std::string("ascii "), "literal ", -42, QStringLiteral(" end")},
        {QStringLiteral("Âge é"), std::string("\xc3\xa9t\xc3\xa9"), "\xe2\x82\xac"},
        // A surrogate pair split between two pieces is still one character.
        {QString("a") + high, QString(low) + "b"},
        // A high surrogate followed by anything but a low one, in the next piece or the same.
        {QString("a") + high, "b", QString("c") + high + "d"},
        {QString("a") + high, std::string("b"), 7},
        {QString(low) + "x", QString("y") + low},
        // Malformed UTF-8 from a byte string.
        {std::string("\xff\xfe"), std::string("ok\xc3"), "\xed\xa0\x80"},
        // Across the writer's block size.
        {QString(3 << 20, QChar(u'x')), QString("\u00e9"), std::string(2 << 20, 'y'), QString(high)},
    };
    TestSupport::TempDir dir;
    int number = 0;
    for (const std::vector<Piece>& pieces : cases) {
        const QString path = dir.file(QStringLiteral("p%1.html").arg(++number));
        EXPECT_EQ(throughWriter(pieces, path), throughTextStream(pieces)) << "case " << number;
    }
}

}  // namespace
