#include "ui/list/PlainLine.h"
#include "tests/support/Files.h"
#include "tests/support/Literals.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"
#include "tests/ui/OpenedFiles.h"

#include <QTemporaryDir>

using namespace Kavo::Testing;
using Kavo::Ui::plainLine;

class PlainLineTest final : public QObject
{
    Q_OBJECT

private slots:
    void markupIsRemoved_data()
    {
        Rows<QString, QString>()
            .row("nothing", "", "")
            .row("plain", "Lights for every pier", "Lights for every pier")
            .row("less than", "Ports < 20 m & > 5 m", "Ports < 20 m & > 5 m")
            .row("ampersand in plain text", "Tom &amp; Jerry", "Tom &amp; Jerry")
            .row("blanks", " Lights \n\t for  piers ", "Lights for piers")
            .row("bold", "Puts <b>lights</b> up", "Puts lights up")
            .row("entities", "<b>Tom</b> &amp; Jerry&nbsp;&lt;3", "Tom & Jerry <3")
            .row("paragraphs", "<p>One</p><p>Two</p>", "One Two")
            .row("line break", "One<br>Two", "One Two")
            .row("list", "<ul><li>One</li><li>Two</li></ul>", "One Two")
            .row("table", "<table><tr><td>One</td><td>Two</td></tr></table>", "One Two")
            .row("style", "<style>b { color: red; }</style><b>One</b>", "One")
            .row("picture", "<p>One <img src=\"lights.png\"> two</p>", "One two")
            .row("link", "<a href=\"http://x.example.org/\">One</a>", "One");
    }

    void markupIsRemoved()
    {
        const auto [text, line] = Rows<QString, QString>::current();
        QCOMPARE(plainLine(text), line);
    }

    /// The result does not show whether a file was read.
    void filesAreNotRead()
    {
        const QTemporaryDir folder;
        const QString path = folder.filePath("sheet.css"_s);
        QVERIFY(writeFile(path, "b { color: red; }"));
        OpenedFiles opened(folder.path());
        const QString text = "<html><head><link rel=\"stylesheet\" type=\"text/css\" "
                             "href=\"%1\"></head><body>Sea<b>port</b></body></html>"_s;
        QCOMPARE(plainLine(text.arg(path)), "Seaport"_s);
        QCOMPARE(plainLine(text.arg("file://"_s + path)), "Seaport"_s);
        QVERIFY(!opened.any());
    }

    void onlyTheBeginningOfARichTextIsRead()
    {
        const QString words = "word "_s.repeated(100000);
        const QString line = plainLine("<b>"_s + words + "</b>"_s);
        QVERIFY(line.size() > 1000);
        QVERIFY(line.size() < 5000);
        QCOMPARE(plainLine(words).size(), words.size() - 1);
    }
};

KAVO_TEST_MAIN(PlainLineTest)
#include "PlainLineTest.moc"
