#include "core/OneLine.h"

#include "tests/support/Rows.h"

using namespace Kavo::Testing;
using Kavo::oneLine;

class OneLineTest final : public QObject
{
    Q_OBJECT

private slots:
    void lineIsNotBroken_data();
    void lineIsNotBroken();
};

void OneLineTest::lineIsNotBroken_data()
{
    Rows<QString, QString>()
        .row("nothing", "", "")
        .row("plain", "/home/me/X-Plane 11/a.txt", "/home/me/X-Plane 11/a.txt")
        .row("umlauts and signs", "/Fläche/<b>&amp;\"%1\"", "/Fläche/<b>&amp;\"%1\"")
        .row("blanks are kept", "/a  b ", "/a  b ")
        .row("beyond 16 bits", "/\xf0\x9f\x9b\xab", "/\xf0\x9f\x9b\xab")
        .row("line feed", "/a\n/etc/passwd", "/a?/etc/passwd")
        .row("carriage return", "/a\r\nb", "/a??b")
        .row("tabulator and bell", "/a\tb\a", "/a?b?")
        .row("escape", "/a\x1b[2J", "/a?[2J")
        .row("next line", "/a\xc2\x85z", "/a?z")
        .row("line separator", "/a\xe2\x80\xa8z", "/a?z")
        .row("paragraph separator", "/a\xe2\x80\xa9z", "/a?z")
        .row("right-to-left override", "/a\xe2\x80\xaetxt.exe", "/a?txt.exe")
        .row("isolate", "/a\xe2\x81\xa7z", "/a?z");
}

void OneLineTest::lineIsNotBroken()
{
    const auto [path, line] = Rows<QString, QString>::current();
    QCOMPARE(oneLine(path), line);
}

QTEST_APPLESS_MAIN(OneLineTest)
#include "OneLineTest.moc"
