#include "ui/list/PlainLine.h"
#include "tests/support/ScratchProfile.h"
#include "tests/support/TestMain.h"

#include <QDir>
#include <QFile>

#include <sys/inotify.h>
#include <unistd.h>

#include <cerrno>

using Kavo::Ui::plainLine;

class PlainLineTest final : public QObject
{
    Q_OBJECT

private slots:
    void markupIsLeftOut_data();
    void markupIsLeftOut();
    void filesAreNotRead();
    void onlyTheBeginningOfARichTextIsRead();
};

void PlainLineTest::markupIsLeftOut_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("line");
    const auto row = [](const char *title, const char *text, const char *line) {
        QTest::newRow(title) << QString::fromUtf8(text) << QString::fromUtf8(line);
    };
    row("nothing", "", "");
    row("plain", "Lights for every pier", "Lights for every pier");
    row("less than", "Ports < 20 m & > 5 m", "Ports < 20 m & > 5 m");
    row("ampersand in plain text", "Tom &amp; Jerry", "Tom &amp; Jerry");
    row("blanks", " Lights \n\t for  piers ", "Lights for piers");
    row("bold", "Puts <b>lights</b> up", "Puts lights up");
    row("entities", "<b>Tom</b> &amp; Jerry&nbsp;&lt;3", "Tom & Jerry <3");
    row("paragraphs", "<p>One</p><p>Two</p>", "One Two");
    row("line break", "One<br>Two", "One Two");
    row("list", "<ul><li>One</li><li>Two</li></ul>", "One Two");
    row("table", "<table><tr><td>One</td><td>Two</td></tr></table>", "One Two");
    row("style", "<style>b { color: red; }</style><b>One</b>", "One");
    row("picture", "<p>One <img src=\"lights.png\"> two</p>", "One two");
    row("link", "<a href=\"http://x.example.org/\">One</a>", "One");
}

void PlainLineTest::markupIsLeftOut()
{
    QFETCH(QString, text);
    QFETCH(QString, line);
    QCOMPARE(plainLine(text), line);
}

/// The text would look the same: the kernel is asked who opened the file.
void PlainLineTest::filesAreNotRead()
{
    const Kavo::Testing::ScratchProfile profile;
    const QString path = QDir::home().filePath(QStringLiteral("sheet.css"));
    QFile sheet(path);
    QVERIFY(sheet.open(QIODevice::WriteOnly));
    sheet.write("b { color: red; }");
    sheet.close();
    const int watch = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    QVERIFY(inotify_add_watch(watch, QFile::encodeName(path).constData(), IN_OPEN) >= 0);
    const QString text = QStringLiteral("<html><head><link rel=\"stylesheet\" type=\"text/css\" "
                                        "href=\"%1\"></head><body>Sea<b>port</b></body></html>");
    QCOMPARE(plainLine(text.arg(path)), QStringLiteral("Seaport"));
    QCOMPARE(plainLine(text.arg(QStringLiteral("file://") + path)), QStringLiteral("Seaport"));
    alignas(inotify_event) char events[1024];
    QCOMPARE(read(watch, events, sizeof(events)), ssize_t(-1));
    QCOMPARE(errno, EAGAIN);
    close(watch);
}

void PlainLineTest::onlyTheBeginningOfARichTextIsRead()
{
    const QString words = QStringLiteral("word ").repeated(100000);
    const QString line = plainLine(QStringLiteral("<b>") + words + QStringLiteral("</b>"));
    QVERIFY(line.size() > 1000);
    QVERIFY(line.size() < 5000);
    QCOMPARE(plainLine(words).size(), words.size() - 1);
}

KAVO_TEST_MAIN(PlainLineTest)
#include "PlainLineTest.moc"
