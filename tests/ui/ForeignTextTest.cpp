#include "ui/package/ForeignText.h"
#include "tests/components/Widgets.h"
#include "tests/support/Files.h"
#include "tests/support/Literals.h"
#include "tests/support/Rows.h"
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

/// Uses a text in all the ways in which Qt uses the text of a label or message box.
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
    // Copying the selected text of a message box does this.
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

    void harmlessTextIsUnchanged_data()
    {
        Rows<QString>()
            .row("plain", "Lights & more, <3")
            .row("coloured", "<p style=\"color:#a00\">Tom &amp; Jerry</p>")
            .row("word of a tag", "<ul><li>background=dark</li></ul>")
            .row("words of tags", "<b>src</b> = url(a.png) \\ img link style=")
            .row("written tag", "<b>Use</b> &lt;img src=a.png&gt;")
            .row("style sheet of its own", "<style>p { color: #a00 }</style><p>Red</p>")
            .row("colour behind", "<p style='background-color:#ff0'>Lit</p>")
            .row("colour behind a table", "<table bgcolor=\"#eee\"><tr><td>Lit</td></tr></table>")
            .row("web page", "<a href=\"https://addons.example.org/?a=1&amp;b=2\">More</a>")
            .row("anchor", "<b>a</b><a name=\"here\">b</a>");
    }

    void harmlessTextIsUnchanged()
    {
        const auto [text] = Rows<QString>::current();
        QCOMPARE(foreignRichText(text), text);
        QCOMPARE(foreignText(text), text);
    }

    void noFileIsOpened_data()
    {
        // The first column is whether Qt opens the file if the text is used unchanged.
        Rows<bool, QString>()
            .row("picture", true, "<b>word</b><img src='%1/a.png'>")
            .row("picture by address", true, "<b>word</b><img src='file://%1/a.png'>")
            .row("picture in capitals", true, "<B>word</B><IMG WIDTH=9 SRC=\"%1/a.png\"/>")
            .row("picture beside the text", true, "<b>word</b><img align=left src='%1/a.png'>")
            .row("picture after a base", true,
                 "<base href='http://a.example/'>word<img src='%1/a.png'>")
            .row("picture in a link", true,
                 "<a href='http://a.example/'>word<img src='%1/a.png'></a>")
            .row("picture in a table", true,
                 "<table><tr><td>word<img src='%1/a.png'></td></tr></table>")
            .row("picture in a list", true, "<ul><li>word<ul><li><img src='%1/a.png'></ul></ul>")
            .row("unfinished picture", true, "<b>word</b><img src='%1/a.png' ")
            .row("picture with an entity", false, "<b>word</b><img src='&#102;ile://%1/a.png'>")
            .row("background in a style", true,
                 "<p style=\"background-image:url(%1/a.png)\">word</p>")
            .row("background in short", true, "<p style=\"background: url(%1/a.png)\">word</p>")
            .row("background with an escape", false,
                 "<p style=\"b\\61 ckground:url(%1/a.png)\">word</p>")
            .row("background of a word", true,
                 "<span style=\"background:url(%1/a.png)\">word</span>")
            .row("background of a line", true, "word<hr style=\"background:url(%1/a.png)\">")
            .row("background in a sheet", true,
                 "<style>p{background:url(%1/a.png)}</style><p>word</p>")
            .row("background of the body", true, "<body background='%1/a.png'>word</body>")
            .row("background of a table", true, "<table background='%1/a.png'><tr><td>word</table>")
            .row("background of a row", true, "<table><tr background='%1/a.png'><td>word</table>")
            .row("background of a cell", true, "<table><tr><td background='%1/a.png'>word</table>")
            .row("sheet", true, "<link rel=stylesheet type='text/css' href='%1/a.css'><p>word</p>")
            .row("imported sheet", true, "<style>@import url(%1/a.css);</style><p>word</p>")
            .row("sheet imported by name", true, "<style>@import '%1/a.css';</style><p>word</p>")
            .row("mark of a list", false,
                 "<ul style=\"list-style-image:url(%1/a.png)\"><li>word</ul>")
            .row("frame and font", false,
                 "<style>@font-face{font-family:x;src:url(%1/a.png)} "
                 "p{border-image:url(%1/a.png)}</style>"
                 "<p style='font-family:x'>word</p>")
            .row("objects", false,
                 "<p>word</p><object data='%1/a.png'></object><embed src='%1/a.png'>"
                 "<iframe src='%1/a.png'></iframe><video src='%1/a.png' poster='%1/a.png'></video>")
            .row("link", false, "<a href='%1/a.png'>word</a>");
    }

    void noFileIsOpened()
    {
        const auto [opens, html] = Rows<bool, QString>::current();
        const QString picture = m_folder.filePath("a.png"_s);
        QVERIFY(writeFile(picture, png(QSize(8, 8), Qt::red)));
        QVERIFY(writeFile(m_folder.filePath("a.css"_s), "p { color: red }"));
        const QString text = QString(html).replace("%1"_s, m_folder.path());

        OpenedFiles opened(m_folder.path());
        const QString shown = foreignRichText(text);
        QCOMPARE(foreignPlainText(text).trimmed(), Qt::mightBeRichText(text) ? "word"_s : text);
        QVERIFY(!opened.any());
        useText(shown);
        showForeignText(*std::make_unique<QLabel>(), shown);
        useText(foreignText(text), Qt::AutoText);
        QVERIFY(!opened.any());
        QCOMPARE(plain(shown).trimmed(), "word"_s);
        // Qt opens the file if the text is used unchanged.
        useText(text);
        QCOMPARE(opened.any(), opens);
    }

    void plainTextHasNoMarkup_data()
    {
        const QString deep = "<b>"_s.repeated(1000) + "One"_s;
        Rows<QString, QString>()
            .row("nothing", "", "")
            .row("plain", "Lights & more, <3", "Lights & more, <3")
            .row("plain with an entity", "Tom &amp; Jerry", "Tom &amp; Jerry")
            .row("rich", "<p>Tom <b>&amp;</b> Jerry</p><p>Next</p>", "Tom & Jerry\nNext")
            .row("link and picture",
                 "<a href=\"http://x.example.org/\">Pier<img src=\"a.png\"></a>", "Pier")
            .row("style sheet", "<style>b { color: red; }</style><b>One</b>", "One")
            .row("linked style sheet", "<link rel=\"stylesheet\" href=\"a.css\"><b>One</b>", "One")
            .row("nested without measure", deep, deep);
    }

    void plainTextHasNoMarkup()
    {
        const auto [text, plain] = Rows<QString, QString>::current();
        QCOMPARE(foreignPlainText(text), plain);
    }

    void textWithReferencesStaysRich()
    {
        const QString text =
            "<style>i { color: #00a }</style>"
            "<strong>2.0</strong><ul><li>Nights are <i>darker</i> <img src=\"a.png\"/>"
            "</li><li style=\"background:url(b.png)\">&lt;b&gt; &amp; \"c\"</li></ul>"
            "<p style=\"color:#a00\">Red</p><p><font size=+2>Big</font></p>"_s;
        const QString shown = foreignRichText(text);
        QVERIFY(shown != text);
        QCOMPARE(plain(shown), "2.0\nNights are darker \n<b> & \"c\"\nRed\nBig"_s);
        QCOMPARE(formatOf(shown, "2.0"_s).fontWeight(), int(QFont::Bold));
        QVERIFY(formatOf(shown, "darker"_s).fontItalic());
        QCOMPARE(formatOf(shown, "darker"_s).foreground().color(), QColor(0, 0, 0xaa));
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
        Rows<QString, bool>()
            .row("http", "http://a.example/b", true)
            .row("https", "https://a.example", true)
            .row("capitals", "HTTPS://A.EXAMPLE/", true)
            .row("file", "file:///etc/passwd", false)
            .row("path", "/etc/passwd", false)
            .row("name", "manual.pdf", false)
            .row("resource", "qrc:/a", false)
            .row("short resource", ":/a", false)
            .row("data", "data:text/html,a", false)
            .row("mail", "mailto:a@b.example", false)
            .row("script", "javascript:a()", false)
            .row("no host", "http:/etc/passwd", false)
            .row("host alone", "//a.example/b", false)
            .row("nothing", "", false);
    }

    void onlyWebPagesAreLinks()
    {
        const auto [address, link] = Rows<QString, bool>::current();
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

    void textWithoutLinksTakesNoFocus()
    {
        QLabel label;
        showForeignText(label, "<b>a</b> <a href=\"http://a.example/\">A link</a>"_s);
        QVERIFY(label.focusPolicy() & Qt::TabFocus);
        showForeignText(label, "<b>a</b>"_s);
        QCOMPARE(label.focusPolicy(), Qt::NoFocus);
        // A plain text has no links.
        showForeignText(label, "a\n<a href=\"http://a.example/\">A link</a>"_s);
        QCOMPARE(label.focusPolicy(), Qt::NoFocus);
    }

    void longTextIsCut()
    {
        const QString words = "word "_s;
        QCOMPARE(foreignRichText(words.repeated(10000)), words.repeated(10000));
        QCOMPARE(foreignRichText(words.repeated(20000)), words.repeated(10000) + QChar(0x2026));
        QCOMPARE(foreignText(words.repeated(20000)), words.repeated(10000) + QChar(0x2026));
    }

    void excessiveMarkupIsEscaped_data()
    {
        Rows<QString, bool> rows;
        const auto add = [&rows](const QString &part, int count, bool rich) {
            rows.row(part.toLatin1(), part.repeated(count), rich);
        };
        // Qt needs half a minute for most of these.
        for (const QString &part : {"<b>"_s, "<h1>x"_s, "<ul><li>"_s, "<PRE>"_s, "<img src=a>"_s})
            add(part, 50000 / part.size(), false);
        for (const QString &part :
             {"<b>x</b>"_s, "<li>x"_s, "<p>x"_s, "x<br>"_s, "<td>x"_s, "</i><b>x</b>"_s})
            add(part, 3000, true);
        add("<u>"_s, 500, true);
        add("<s>"_s, 501, false);
    }

    void excessiveMarkupIsEscaped()
    {
        const auto [text, rich] = Rows<QString, bool>::current();
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
        Rows<QString>()
            .row("plain", "A "_s + word)
            .row("rich", "<b>A</b> "_s + word)
            .row("over tags", "<b>WWWWWWWW</b><i>WWWWWWWW</i>"_s.repeated(50))
            .row("entities", "<b>A</b>"_s + "&amp;"_s.repeated(1000));
    }

    void longWordsBreak()
    {
        const auto [text] = Rows<QString>::current();
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

    void breaksDoNotSplitCharactersOrMarkup_data()
    {
        const QString forty(40, QLatin1Char('x'));
        const QString gap(QChar(0x200b));
        const QString marked = forty + QChar(0x0301);
        const QString pair = forty.left(39) + QChar(0xd83d) + QChar(0xde00);
        const QString link = "<a href=\"http://a.example/"_s + forty + "\">b</a>"_s;
        const QString sheet = "<style>p{margin:0;padding:0;background-color:#ffffff;color:#aa0000}"
                              "</style><p>Red</p>"_s;
        const QString bold = "<b>"_s + forty + "</b>"_s;
        Rows<QString, QString>()
            .row("longest word", forty, forty)
            .row("one more", forty + "y"_s, forty + gap + "y"_s)
            .row("two words", forty + " "_s + forty, forty + " "_s + forty)
            .row("pair", pair, pair)
            .row("mark", marked, marked)
            .row("tag", link, link)
            .row("entity", bold + "&amp;c"_s, bold + gap + "&amp;c"_s)
            .row("style sheet", sheet, sheet);
    }

    void breaksDoNotSplitCharactersOrMarkup()
    {
        const auto [text, shown] = Rows<QString, QString>::current();
        QCOMPARE(foreignText(text), shown);
    }

private:
    QTemporaryDir m_folder;
    QList<QUrl> m_opened;
};

KAVO_TEST_MAIN(ForeignTextTest)
#include "ForeignTextTest.moc"
