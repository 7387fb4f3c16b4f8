#include "ui/package/ForeignText.h"
#include "tests/components/Widgets.h"
#include "tests/support/Archives.h"
#include "tests/support/Literals.h"
#include "tests/support/Table.h"
#include "tests/support/TestMain.h"
#include "tests/ui/OpenedFiles.h"
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

using namespace Kavo::Testing;
using namespace Kavo::Ui;

namespace {

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
    void init()
    {
        QVERIFY(m_folder.isValid());
        m_opened.clear();
    }

    void harmlessTextComesBackAsItIs_data()
    {
        table<QString>(
            {"text"},
            {{"plain", "Lights & more, <3"_s},
             {"coloured", "<p style=\"color:#a00\">Tom &amp; Jerry</p>"_s},
             {"word of a tag", "<ul><li>background=dark</li></ul>"_s},
             {"words of tags", "<b>src</b> = url(a.png) \\ img link style="_s},
             {"written tag", "<b>Use</b> &lt;img src=a.png&gt;"_s},
             {"style sheet of its own", "<style>p { color: #a00 }</style><p>Red</p>"_s},
             {"colour behind", "<p style='background-color:#ff0'>Lit</p>"_s},
             {"colour behind a table", "<table bgcolor=\"#eee\"><tr><td>Lit</td></tr></table>"_s},
             {"web page", "<a href=\"https://addons.example.org/?a=1&amp;b=2\">More</a>"_s},
             {"anchor", "<b>a</b><a name=\"here\">b</a>"_s}});
    }

    void harmlessTextComesBackAsItIs()
    {
        QFETCH(QString, text);
        QCOMPARE(foreignRichText(text), text);
        QCOMPARE(foreignText(text), text);
    }

    void noFileIsOpened_data()
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
        add("picture after a base", true,
            "<base href='http://a.example/'>word<img src='%1/a.png'>");
        add("picture in a link", true, "<a href='http://a.example/'>word<img src='%1/a.png'></a>");
        add("picture in a table", true,
            "<table><tr><td>word<img src='%1/a.png'></td></tr></table>");
        add("picture in a list", true, "<ul><li>word<ul><li><img src='%1/a.png'></ul></ul>");
        add("unfinished picture", true, "<b>word</b><img src='%1/a.png' ");
        add("picture with an entity", false, "<b>word</b><img src='&#102;ile://%1/a.png'>");
        add("background in a style", true, "<p style=\"background-image:url(%1/a.png)\">word</p>");
        add("background in short", true, "<p style=\"background: url(%1/a.png)\">word</p>");
        add("background with an escape", false,
            "<p style=\"b\\61 ckground:url(%1/a.png)\">word</p>");
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
            "<style>@font-face{font-family:x;src:url(%1/a.png)} "
            "p{border-image:url(%1/a.png)}</style>"
            "<p style='font-family:x'>word</p>");
        add("objects", false,
            "<p>word</p><object data='%1/a.png'></object><embed src='%1/a.png'>"
            "<iframe src='%1/a.png'></iframe><video src='%1/a.png' poster='%1/a.png'></video>");
        add("link", false, "<a href='%1/a.png'>word</a>");
    }

    void noFileIsOpened()
    {
        QFETCH(bool, opens);
        QFETCH(QString, html);
        const QString picture = m_folder.filePath("a.png"_s);
        QVERIFY(writeFile(picture, png(QSize(8, 8), Qt::red)));
        QVERIFY(writeFile(m_folder.filePath("a.css"_s), "p { color: red }"));
        const QString text = html.replace("%1"_s, m_folder.path());

        OpenedFiles opened(m_folder.path());
        const QString shown = foreignRichText(text);
        QCOMPARE(foreignPlainText(text).trimmed(), Qt::mightBeRichText(text) ? "word"_s : text);
        QVERIFY(!opened.any());
        useText(shown);
        showForeignText(*std::make_unique<QLabel>(), shown);
        useText(foreignText(text), Qt::AutoText);
        QVERIFY(!opened.any());
        QCOMPARE(plain(shown).trimmed(), "word"_s);
        // The watch sees it where nothing is done about it.
        useText(text);
        QCOMPARE(opened.any(), opens);
    }

    void plainTextIsWhatThereIsToRead_data()
    {
        const QString deep = "<b>"_s.repeated(1000) + "One"_s;
        table<QString, QString>(
            {"text", "plain"},
            {{"nothing", {}, {}},
             {"plain", "Lights & more, <3"_s, "Lights & more, <3"_s},
             {"plain with an entity", "Tom &amp; Jerry"_s, "Tom &amp; Jerry"_s},
             {"rich", "<p>Tom <b>&amp;</b> Jerry</p><p>Next</p>"_s, "Tom & Jerry\nNext"_s},
             {"link and picture", "<a href=\"http://x.example.org/\">Pier<img src=\"a.png\"></a>"_s,
              "Pier"_s},
             {"style sheet", "<style>b { color: red; }</style><b>One</b>"_s, "One"_s},
             {"linked style sheet", "<link rel=\"stylesheet\" href=\"a.css\"><b>One</b>"_s,
              "One"_s},
             {"nested without measure", deep, deep}});
    }

    void plainTextIsWhatThereIsToRead()
    {
        QFETCH(QString, text);
        QTEST(foreignPlainText(text), "plain");
    }

    void restOfATextWithReferencesStaysRich()
    {
        const QString text =
            "<strong>2.0</strong><ul><li>Nights are <i>darker</i> <img src=\"a.png\"/>"
            "</li><li style=\"background:url(b.png)\">&lt;b&gt; &amp; \"c\"</li></ul>"
            "<p style=\"color:#a00\">Red</p><p><font size=+2>Big</font></p>"_s;
        const QString shown = foreignRichText(text);
        QVERIFY(shown != text);
        QCOMPARE(plain(shown), "2.0\nNights are darker \n<b> & \"c\"\nRed\nBig"_s);
        QCOMPARE(formatOf(shown, "2.0"_s).fontWeight(), int(QFont::Bold));
        QVERIFY(formatOf(shown, "darker"_s).fontItalic());
        QCOMPARE(formatOf(shown, "Red"_s).foreground().color(), QColor(0xaa, 0, 0));
        const ForeignDocument document(shown);
        QVERIFY(document.find("Nights"_s).block().textList());
        QCOMPARE(document.find("Nights"_s).charFormat().fontPointSize(), 0.0);
        QVERIFY(document.find("Nights"_s).charFormat().fontFamily().isEmpty());
    }

    void resultCanBeJoined()
    {
        const QString text = "<strong>Install ?</strong>"_s +
                             foreignRichText("<strong>2.0</strong><img src=\"a.png\"/>"_s);
        QVERIFY(plain(text).startsWith("Install ?"_s));
        QVERIFY(plain(text).endsWith("2.0"_s));
        QVERIFY(!text.contains("<body"_s));
    }

    void onlyWebPagesAreLinks_data()
    {
        table<QString, bool>({"address", "link"}, {{"http", "http://a.example/b"_s, true},
                                                   {"https", "https://a.example"_s, true},
                                                   {"capitals", "HTTPS://A.EXAMPLE/"_s, true},
                                                   {"file", "file:///etc/passwd"_s, false},
                                                   {"path", "/etc/passwd"_s, false},
                                                   {"name", "manual.pdf"_s, false},
                                                   {"resource", "qrc:/a"_s, false},
                                                   {"short resource", ":/a"_s, false},
                                                   {"data", "data:text/html,a"_s, false},
                                                   {"mail", "mailto:a@b.example"_s, false},
                                                   {"script", "javascript:a()"_s, false},
                                                   {"no host", "http:/etc/passwd"_s, false},
                                                   {"host alone", "//a.example/b"_s, false},
                                                   {"nothing", {}, false}});
    }

    void onlyWebPagesAreLinks()
    {
        QFETCH(QString, address);
        QFETCH(bool, link);
        const QString text = "<p>See <b>the <a href=\"%1\">manual</a></b> first</p>"_s.arg(address);
        const QString shown = foreignRichText(text);
        QCOMPARE(plain(shown), "See the manual first"_s);
        const QTextCharFormat format = formatOf(shown, "manual"_s);
        QCOMPARE(format.anchorHref(), link ? address : QString());
        QCOMPARE(format.fontUnderline(), link);
        QCOMPARE(format.hasProperty(QTextFormat::ForegroundBrush), link);
        QCOMPARE(format.fontWeight(), int(QFont::Bold));
        QCOMPARE(ForeignDocument(shown).hasLinks(), link);
    }

    void linkOpensInTheBrowser()
    {
        QDesktopServices::setUrlHandler("https"_s, this, "openUrl");
        QLabel label;
        showForeignText(label, "<a href=\"https://a.example/\">A long link</a>"_s);
        label.resize(300, 40);
        label.setAlignment(Qt::AlignTop);
        label.show();
        QTest::mouseClick(&label, Qt::LeftButton, Qt::NoModifier, QPoint(10, 8));
        const QUrl page("https://a.example/"_s);
        QCOMPARE(m_opened, QList<QUrl>({page}));
        QVERIFY(QTest::qWaitForWindowActive(&label));
        label.setFocus(Qt::TabFocusReason);
        QTest::keyClick(&label, Qt::Key_Tab);
        QTest::keyClick(&label, Qt::Key_Return);
        QDesktopServices::unsetUrlHandler("https"_s);
        QCOMPARE(m_opened, QList<QUrl>({page, page}));
    }

    void textWithoutLinksTakesNoKeyboard()
    {
        QLabel label;
        showForeignText(label, "<b>a</b> <a href=\"http://a.example/\">A link</a>"_s);
        QVERIFY(label.focusPolicy() & Qt::TabFocus);
        showForeignText(label, "<b>a</b>"_s);
        QCOMPARE(label.focusPolicy(), Qt::NoFocus);
        // Where it is shown as it is written, there is nothing to follow.
        showForeignText(label, "a\n<a href=\"http://a.example/\">A link</a>"_s);
        QCOMPARE(label.focusPolicy(), Qt::NoFocus);
    }

    void endlessTextIsCut()
    {
        const QString words = "word "_s;
        QCOMPARE(foreignRichText(words.repeated(10000)), words.repeated(10000));
        QCOMPARE(foreignRichText(words.repeated(20000)), words.repeated(10000) + QChar(0x2026));
        QCOMPARE(foreignText(words.repeated(20000)), words.repeated(10000) + QChar(0x2026));
    }

    void markupWithoutMeasureIsShownAsWritten_data()
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

    void markupWithoutMeasureIsShownAsWritten()
    {
        QFETCH(QString, text);
        QFETCH(bool, rich);
        const QString escaped = "<p>"_s + text.toHtmlEscaped() + "</p>"_s;
        QCOMPARE(foreignRichText(text), rich ? text : escaped);
    }

    void unfinishedMarkupIsRead()
    {
        for (const char *part : {"&", "<", "<style", "<b", "&amp", "<!--"}) {
            const QString text = QString::fromLatin1(part).repeated(8000);
            QVERIFY(!foreignText(text).isEmpty());
            QVERIFY(!ForeignDocument(foreignRichText(text)).hasReferences());
        }
    }

    void longWordsBreak_data()
    {
        const QString word(1000, QLatin1Char('W'));
        table<QString>({"text"}, {{"plain", "A "_s + word},
                                  {"rich", "<b>A</b> "_s + word},
                                  {"over tags", "<b>WWWWWWWW</b><i>WWWWWWWW</i>"_s.repeated(50)},
                                  {"entities", "<b>A</b>"_s + "&amp;"_s.repeated(1000)}});
    }

    void longWordsBreak()
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

    void breaksLeaveCharactersAndMarkupWhole_data()
    {
        const QString forty(40, QLatin1Char('x'));
        const QString gap(QChar(0x200b));
        const QString marked = forty + QChar(0x0301);
        const QString pair = forty.left(39) + QChar(0xd83d) + QChar(0xde00);
        const QString link = "<a href=\"http://a.example/"_s + forty + "\">b</a>"_s;
        const QString sheet = "<style>p{margin:0;padding:0;background-color:#ffffff;color:#aa0000}"
                              "</style><p>Red</p>"_s;
        const QString bold = "<b>"_s + forty + "</b>"_s;
        table<QString, QString>({"text", "shown"},
                                {{"longest word", forty, forty},
                                 {"one more", forty + "y"_s, forty + gap + "y"_s},
                                 {"two words", forty + " "_s + forty, forty + " "_s + forty},
                                 {"pair", pair, pair},
                                 {"mark", marked, marked},
                                 {"tag", link, link},
                                 {"entity", bold + "&amp;c"_s, bold + gap + "&amp;c"_s},
                                 {"style sheet", sheet, sheet}});
    }

    void breaksLeaveCharactersAndMarkupWhole()
    {
        QFETCH(QString, text);
        QTEST(foreignText(text), "shown");
    }

private:
    QTemporaryDir m_folder;
    QList<QUrl> m_opened;
};

KAVO_TEST_MAIN(ForeignTextTest)
#include "ForeignTextTest.moc"
