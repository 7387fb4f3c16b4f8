#include "ui/package/ForeignText.h"
#include "tests/components/Widgets.h"
#include "tests/support/TestMain.h"
#include "ui/package/ForeignDocument.h"

#include <QAccessible>
#include <QBuffer>
#include <QDesktopServices>
#include <QMessageBox>
#include <QTemporaryDir>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextDocumentFragment>
#include <QTextDocumentWriter>

#include <sys/inotify.h>
#include <unistd.h>

#include <array>

using namespace Kavo::Testing;
using namespace Kavo::Ui;

namespace {

/// Tells whether anything in a folder was opened.
class OpenedFiles final
{
public:
    explicit OpenedFiles(const QString &folder) : m_queue(inotify_init1(IN_NONBLOCK))
    {
        inotify_add_watch(m_queue, QFile::encodeName(folder).constData(), IN_OPEN);
    }
    ~OpenedFiles() { close(m_queue); }
    Q_DISABLE_COPY_MOVE(OpenedFiles)

    /// Since it was asked last.
    bool any()
    {
        bool found = false;
        alignas(inotify_event) std::array<char, 4096> events{};
        while (read(m_queue, events.data(), events.size()) > 0)
            found = true;
        return found;
    }

private:
    int m_queue;
};

/// Everything that Qt does with the text of a label or box.
void useText(const QString &text, Qt::TextFormat format = Qt::RichText)
{
    QLabel label;
    label.setTextFormat(format);
    label.setText(text);
    label.resize(300, 200);
    label.grab();
    if (auto *spoken = QAccessible::queryAccessibleInterface(&label))
        spoken->text(QAccessible::Name);

    QMessageBox box;
    box.setTextFormat(format);
    box.setText(text);
    box.show();
    box.grab();

    if (format == Qt::AutoText && !Qt::mightBeRichText(text))
        return;
    // As the selected text of a box is handed to another program.
    QTextDocument document;
    document.setHtml(text);
    QTextDocument copy;
    QTextCursor(&copy).insertFragment(QTextDocumentFragment(&document));
    QBuffer buffer;
    QTextDocumentWriter writer(&buffer, "ODF");
    writer.write(&copy);
}

QString plain(const QString &html)
{
    return ForeignDocument(html).toPlainText();
}

/// The format of a word in a rich text.
QTextCharFormat formatOf(const QString &html, const QString &word)
{
    const ForeignDocument document(html);
    return document.find(word).charFormat();
}

} // namespace

class ForeignTextTest final : public QObject
{
    Q_OBJECT

public slots:
    void openUrl(const QUrl &url) { m_opened.append(url); }

private slots:
    void init();

    void harmlessTextComesBackAsItIs_data();
    void harmlessTextComesBackAsItIs();
    void noFileIsOpened_data();
    void noFileIsOpened();
    void plainTextIsWhatThereIsToRead_data();
    void plainTextIsWhatThereIsToRead();
    void restOfATextWithReferencesStaysRich();
    void resultCanBeJoined();
    void onlyWebPagesAreLinks_data();
    void onlyWebPagesAreLinks();
    void linkOpensInTheBrowser();
    void linkOpensWithTheKeyboard();
    void textWithoutLinksTakesNoKeyboard();
    void endlessTextIsCut();
    void markupWithoutMeasureIsShownAsWritten_data();
    void markupWithoutMeasureIsShownAsWritten();
    void unfinishedMarkupIsRead();
    void longWordsBreak_data();
    void longWordsBreak();
    void breaksLeaveCharactersAndMarkupWhole_data();
    void breaksLeaveCharactersAndMarkupWhole();

private:
    QTemporaryDir m_folder;
    QList<QUrl> m_opened;
};

void ForeignTextTest::init()
{
    QVERIFY(m_folder.isValid());
    m_opened.clear();
}

void ForeignTextTest::harmlessTextComesBackAsItIs_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("plain") << QStringLiteral("Lights & more, <3");
    QTest::newRow("coloured") << QStringLiteral("<p style=\"color:#a00\">Tom &amp; Jerry</p>");
    QTest::newRow("word of a tag") << QStringLiteral("<ul><li>background=dark</li></ul>");
    QTest::newRow("words of tags") << QStringLiteral("<b>src</b> = url(a.png) \\ img link style=");
    QTest::newRow("written tag") << QStringLiteral("<b>Use</b> &lt;img src=a.png&gt;");
    QTest::newRow("style sheet of its own")
        << QStringLiteral("<style>p { color: #a00 }</style><p>Red</p>");
    QTest::newRow("colour behind") << QStringLiteral("<p style='background-color:#ff0'>Lit</p>");
    QTest::newRow("colour behind a table")
        << QStringLiteral("<table bgcolor=\"#eee\"><tr><td>Lit</td></tr></table>");
    QTest::newRow("web page") << QStringLiteral(
        "<a href=\"https://addons.example.org/?a=1&amp;b=2\">More</a>");
    QTest::newRow("anchor") << QStringLiteral("<b>a</b><a name=\"here\">b</a>");
}

void ForeignTextTest::harmlessTextComesBackAsItIs()
{
    QFETCH(QString, text);
    QCOMPARE(foreignRichText(text), text);
    QCOMPARE(foreignText(text), text);
}

void ForeignTextTest::noFileIsOpened_data()
{
    // Whether Qt by itself opens the file.
    QTest::addColumn<bool>("opens");
    QTest::addColumn<QString>("html");
    const auto add = [](const char *name, bool opens, const char *html) {
        QTest::newRow(name) << opens << QString::fromLatin1(html);
    };
    add("picture", true, "<b>word</b><img src='%1/a.png'>");
    add("picture by address", true, "<b>word</b><img src='file://%1/a.png'>");
    add("picture in capitals", true, "<B>word</B><IMG WIDTH=9 SRC=\"%1/a.png\"/>");
    add("picture beside the text", true, "<b>word</b><img align=left src='%1/a.png'>");
    add("picture after a base", true, "<base href='http://a.example/'>word<img src='%1/a.png'>");
    add("picture in a link", true, "<a href='http://a.example/'>word<img src='%1/a.png'></a>");
    add("picture in a table", true, "<table><tr><td>word<img src='%1/a.png'></td></tr></table>");
    add("picture in a list", true, "<ul><li>word<ul><li><img src='%1/a.png'></ul></ul>");
    add("unfinished picture", true, "<b>word</b><img src='%1/a.png' ");
    add("picture with an entity", false, "<b>word</b><img src='&#102;ile://%1/a.png'>");
    add("background in a style", true, "<p style=\"background-image:url(%1/a.png)\">word</p>");
    add("background in short", true, "<p style=\"background: url(%1/a.png)\">word</p>");
    add("background with an escape", false, "<p style=\"b\\61 ckground:url(%1/a.png)\">word</p>");
    add("background of a word", true, "<span style=\"background:url(%1/a.png)\">word</span>");
    add("background of a line", true, "word<hr style=\"background:url(%1/a.png)\">");
    add("background in a sheet", true, "<style>p{background:url(%1/a.png)}</style><p>word</p>");
    add("background of the body", true, "<body background='%1/a.png'>word</body>");
    add("background of a table", true, "<table background='%1/a.png'><tr><td>word</table>");
    add("background of a row", true, "<table><tr background='%1/a.png'><td>word</table>");
    add("background of a cell", true, "<table><tr><td background='%1/a.png'>word</table>");
    add("sheet", true, "<link rel=stylesheet type='text/css' href='%1/a.css'><p>word</p>");
    add("imported sheet", true, "<style>@import url(%1/a.css);</style><p>word</p>");
    add("sheet imported by name", true, "<style>@import '%1/a.css';</style><p>word</p>");
    add("mark of a list", false, "<ul style=\"list-style-image:url(%1/a.png)\"><li>word</ul>");
    add("frame and font", false,
        "<style>@font-face{font-family:x;src:url(%1/a.png)} p{border-image:url(%1/a.png)}</style>"
        "<p style='font-family:x'>word</p>");
    add("objects", false,
        "<p>word</p><object data='%1/a.png'></object><embed src='%1/a.png'>"
        "<iframe src='%1/a.png'></iframe><video src='%1/a.png' poster='%1/a.png'></video>");
    add("link", false, "<a href='%1/a.png'>word</a>");
}

void ForeignTextTest::noFileIsOpened()
{
    QFETCH(bool, opens);
    QFETCH(QString, html);
    const QString picture = m_folder.filePath(QStringLiteral("a.png"));
    QImage image(8, 8, QImage::Format_RGB32);
    image.fill(Qt::red);
    QVERIFY(image.save(picture));
    QFile sheet(m_folder.filePath(QStringLiteral("a.css")));
    QVERIFY(sheet.open(QFile::WriteOnly));
    sheet.write("p { color: red }");
    sheet.close();
    const QString text = html.replace(QLatin1String("%1"), m_folder.path());

    OpenedFiles opened(m_folder.path());
    const QString shown = foreignRichText(text);
    QCOMPARE(foreignPlainText(text).trimmed(),
             Qt::mightBeRichText(text) ? QStringLiteral("word") : text);
    QVERIFY(!opened.any());
    useText(shown);
    showForeignText(*std::make_unique<QLabel>(), shown);
    useText(foreignText(text), Qt::AutoText);
    QVERIFY(!opened.any());
    QCOMPARE(plain(shown).trimmed(), QStringLiteral("word"));
    // The watch sees it where nothing is done about it.
    useText(text);
    QCOMPARE(opened.any(), opens);
}

void ForeignTextTest::plainTextIsWhatThereIsToRead_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("plain");
    const auto row = [](const char *name, const QString &text, const QString &plain) {
        QTest::newRow(name) << text << plain;
    };
    row("nothing", QString(), QString());
    row("plain", QStringLiteral("Lights & more, <3"), QStringLiteral("Lights & more, <3"));
    row("plain with an entity", QStringLiteral("Tom &amp; Jerry"),
        QStringLiteral("Tom &amp; Jerry"));
    row("rich", QStringLiteral("<p>Tom <b>&amp;</b> Jerry</p><p>Next</p>"),
        QStringLiteral("Tom & Jerry\nNext"));
    row("link and picture",
        QStringLiteral("<a href=\"http://x.example.org/\">Pier<img src=\"a.png\"></a>"),
        QStringLiteral("Pier"));
    row("style sheet", QStringLiteral("<style>b { color: red; }</style><b>One</b>"),
        QStringLiteral("One"));
    row("linked style sheet", QStringLiteral("<link rel=\"stylesheet\" href=\"a.css\"><b>One</b>"),
        QStringLiteral("One"));
    const QString deep = QStringLiteral("<b>").repeated(1000) + QStringLiteral("One");
    row("nested without measure", deep, deep);
}

void ForeignTextTest::plainTextIsWhatThereIsToRead()
{
    QFETCH(QString, text);
    QFETCH(QString, plain);
    QCOMPARE(foreignPlainText(text), plain);
}

void ForeignTextTest::restOfATextWithReferencesStaysRich()
{
    const QString text =
        QStringLiteral("<strong>2.0</strong><ul><li>Nights are <i>darker</i> <img src=\"a.png\"/>"
                       "</li><li style=\"background:url(b.png)\">&lt;b&gt; &amp; \"c\"</li></ul>"
                       "<p style=\"color:#a00\">Red</p><p><font size=+2>Big</font></p>");
    const QString shown = foreignRichText(text);
    QVERIFY(shown != text);
    QCOMPARE(plain(shown), QStringLiteral("2.0\nNights are darker \n<b> & \"c\"\nRed\nBig"));
    QCOMPARE(formatOf(shown, QStringLiteral("2.0")).fontWeight(), int(QFont::Bold));
    QVERIFY(formatOf(shown, QStringLiteral("darker")).fontItalic());
    QCOMPARE(formatOf(shown, QStringLiteral("Red")).foreground().color(), QColor(0xaa, 0, 0));
    const ForeignDocument document(shown);
    QVERIFY(document.find(QStringLiteral("Nights")).block().textList());
    QCOMPARE(document.find(QStringLiteral("Nights")).charFormat().fontPointSize(), 0.0);
    QVERIFY(document.find(QStringLiteral("Nights")).charFormat().fontFamily().isEmpty());
}

void ForeignTextTest::resultCanBeJoined()
{
    const QString text =
        QStringLiteral("<strong>Install ?</strong>") +
        foreignRichText(QStringLiteral("<strong>2.0</strong><img src=\"a.png\"/>"));
    QVERIFY(plain(text).startsWith(QLatin1String("Install ?")));
    QVERIFY(plain(text).endsWith(QLatin1String("2.0")));
    QVERIFY(!text.contains(QLatin1String("<body")));
}

void ForeignTextTest::onlyWebPagesAreLinks_data()
{
    QTest::addColumn<QString>("address");
    QTest::addColumn<bool>("link");
    QTest::newRow("http") << QStringLiteral("http://a.example/b") << true;
    QTest::newRow("https") << QStringLiteral("https://a.example") << true;
    QTest::newRow("capitals") << QStringLiteral("HTTPS://A.EXAMPLE/") << true;
    QTest::newRow("file") << QStringLiteral("file:///etc/passwd") << false;
    QTest::newRow("path") << QStringLiteral("/etc/passwd") << false;
    QTest::newRow("name") << QStringLiteral("manual.pdf") << false;
    QTest::newRow("resource") << QStringLiteral("qrc:/a") << false;
    QTest::newRow("short resource") << QStringLiteral(":/a") << false;
    QTest::newRow("data") << QStringLiteral("data:text/html,a") << false;
    QTest::newRow("mail") << QStringLiteral("mailto:a@b.example") << false;
    QTest::newRow("script") << QStringLiteral("javascript:a()") << false;
    QTest::newRow("no host") << QStringLiteral("http:/etc/passwd") << false;
    QTest::newRow("host alone") << QStringLiteral("//a.example/b") << false;
    QTest::newRow("nothing") << QString() << false;
}

void ForeignTextTest::onlyWebPagesAreLinks()
{
    QFETCH(QString, address);
    QFETCH(bool, link);
    const QString text =
        QStringLiteral("<p>See <b>the <a href=\"%1\">manual</a></b> first</p>").arg(address);
    const QString shown = foreignRichText(text);
    QCOMPARE(plain(shown), QStringLiteral("See the manual first"));
    const QTextCharFormat format = formatOf(shown, QStringLiteral("manual"));
    QCOMPARE(format.anchorHref(), link ? address : QString());
    QCOMPARE(format.fontUnderline(), link);
    QCOMPARE(format.hasProperty(QTextFormat::ForegroundBrush), link);
    QCOMPARE(format.fontWeight(), int(QFont::Bold));
    QCOMPARE(ForeignDocument(shown).hasLinks(), link);
}

void ForeignTextTest::linkOpensInTheBrowser()
{
    QDesktopServices::setUrlHandler(QStringLiteral("https"), this, "openUrl");
    QLabel label;
    showForeignText(label, QStringLiteral("<a href=\"https://a.example/\">A long link</a>"));
    label.resize(300, 40);
    label.setAlignment(Qt::AlignTop);
    label.show();
    QTest::mouseClick(&label, Qt::LeftButton, Qt::NoModifier, QPoint(10, 8));
    QDesktopServices::unsetUrlHandler(QStringLiteral("https"));
    QCOMPARE(m_opened, QList<QUrl>({QUrl(QStringLiteral("https://a.example/"))}));
}

void ForeignTextTest::linkOpensWithTheKeyboard()
{
    QDesktopServices::setUrlHandler(QStringLiteral("http"), this, "openUrl");
    QLabel label;
    showForeignText(label, QStringLiteral("<b>a</b> <a href=\"http://a.example/\">A link</a>"));
    label.show();
    QVERIFY(QTest::qWaitForWindowActive(&label));
    label.setFocus(Qt::TabFocusReason);
    QTest::keyClick(&label, Qt::Key_Tab);
    QTest::keyClick(&label, Qt::Key_Return);
    QDesktopServices::unsetUrlHandler(QStringLiteral("http"));
    QCOMPARE(m_opened, QList<QUrl>({QUrl(QStringLiteral("http://a.example/"))}));
}

void ForeignTextTest::textWithoutLinksTakesNoKeyboard()
{
    QLabel label;
    showForeignText(label, QStringLiteral("<b>a</b> <a href=\"http://a.example/\">A link</a>"));
    QVERIFY(label.focusPolicy() & Qt::TabFocus);
    showForeignText(label, QStringLiteral("<b>a</b>"));
    QCOMPARE(label.focusPolicy(), Qt::NoFocus);
    // Where it is shown as it is written, there is nothing to follow.
    showForeignText(label, QStringLiteral("a\n<a href=\"http://a.example/\">A link</a>"));
    QCOMPARE(label.focusPolicy(), Qt::NoFocus);
}

void ForeignTextTest::endlessTextIsCut()
{
    const QString words = QStringLiteral("word ");
    QCOMPARE(foreignRichText(words.repeated(10000)), words.repeated(10000));
    QCOMPARE(foreignRichText(words.repeated(20000)), words.repeated(10000) + QChar(0x2026));
    QCOMPARE(foreignText(words.repeated(20000)), words.repeated(10000) + QChar(0x2026));
}

void ForeignTextTest::markupWithoutMeasureIsShownAsWritten_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("rich");
    const auto add = [](const char *part, int count, bool rich) {
        QTest::newRow(part) << QString::fromLatin1(part).repeated(count) << rich;
    };
    // Qt reads most of the first for half a minute.
    for (const char *part : {"<b>", "<h1>x", "<ul><li>", "<PRE>", "<img src=a>"})
        add(part, 50000 / int(qstrlen(part)), false);
    for (const char *part : {"<b>x</b>", "<li>x", "<p>x", "x<br>", "<td>x", "</i><b>x</b>"})
        add(part, 3000, true);
    add("<u>", 500, true);
    add("<s>", 501, false);
}

void ForeignTextTest::markupWithoutMeasureIsShownAsWritten()
{
    QFETCH(QString, text);
    QFETCH(bool, rich);
    const QString escaped = QStringLiteral("<p>") + text.toHtmlEscaped() + QStringLiteral("</p>");
    QCOMPARE(foreignRichText(text), rich ? text : escaped);
}

void ForeignTextTest::unfinishedMarkupIsRead()
{
    for (const char *part : {"&", "<", "<style", "<b", "&amp", "<!--"}) {
        const QString text = QString::fromLatin1(part).repeated(8000);
        QVERIFY(!foreignText(text).isEmpty());
        QVERIFY(!ForeignDocument(foreignRichText(text)).hasReferences());
    }
}

void ForeignTextTest::longWordsBreak_data()
{
    QTest::addColumn<QString>("text");
    const QString word(1000, QLatin1Char('W'));
    QTest::newRow("plain") << QString(QStringLiteral("A ") + word);
    QTest::newRow("rich") << QString(QStringLiteral("<b>A</b> ") + word);
    QTest::newRow("over tags") << QStringLiteral("<b>WWWWWWWW</b><i>WWWWWWWW</i>").repeated(50);
    QTest::newRow("entities") << QString(QStringLiteral("<b>A</b>") +
                                         QStringLiteral("&amp;").repeated(1000));
}

void ForeignTextTest::longWordsBreak()
{
    QFETCH(QString, text);
    QLabel label;
    label.setWordWrap(true);
    label.setText(text);
    const int before = label.minimumSizeHint().width();
    const QString shown = foreignText(text);
    label.setText(shown);
    // Bold letters are wider.
    const int widest = 50 * label.fontMetrics().horizontalAdvance(QLatin1Char('W'));
    QVERIFY(before > 2 * widest);
    QVERIFY(label.minimumSizeHint().width() <= widest);
    QCOMPARE(plain(QString(shown).remove(QChar(0x200b))), plain(text));
}

void ForeignTextTest::breaksLeaveCharactersAndMarkupWhole_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("shown");
    const QString forty(40, QLatin1Char('x'));
    const QString gap(QChar(0x200b));
    QTest::newRow("longest word") << forty << forty;
    QTest::newRow("one more") << QString(forty + QLatin1Char('y'))
                              << QString(forty + gap + QLatin1Char('y'));
    QTest::newRow("two words") << QString(forty + QLatin1Char(' ') + forty)
                               << QString(forty + QLatin1Char(' ') + forty);
    QTest::newRow("pair") << QString(forty.left(39) + QChar(0xd83d) + QChar(0xde00))
                          << QString(forty.left(39) + QChar(0xd83d) + QChar(0xde00));
    QTest::newRow("mark") << QString(forty + QChar(0x0301)) << QString(forty + QChar(0x0301));
    const QString link =
        QStringLiteral("<a href=\"http://a.example/") + forty + QStringLiteral("\">b</a>");
    QTest::newRow("tag") << link << link;
    const QString entity = QStringLiteral("<b>") + forty + QStringLiteral("</b>&amp;c");
    QTest::newRow("entity") << entity
                            << QString(QStringLiteral("<b>") + forty + QStringLiteral("</b>") +
                                       gap + QStringLiteral("&amp;c"));
    const QString sheet =
        QStringLiteral("<style>p{margin:0;padding:0;background-color:#ffffff;color:#aa0000}"
                       "</style><p>Red</p>");
    QTest::newRow("style sheet") << sheet << sheet;
}

void ForeignTextTest::breaksLeaveCharactersAndMarkupWhole()
{
    QFETCH(QString, text);
    QFETCH(QString, shown);
    QCOMPARE(foreignText(text), shown);
}

KAVO_TEST_MAIN(ForeignTextTest)
#include "ForeignTextTest.moc"
