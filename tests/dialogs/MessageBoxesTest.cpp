#include "dialogs/MessageBoxes.h"
#include "tests/support/MessageBoxAnswers.h"
#include "tests/support/TestMain.h"

#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QTimer>

#include <functional>

using namespace Kavo::Testing;
using Kavo::Dialogs::confirm;
using Kavo::Dialogs::confirmLoss;
using Kavo::Dialogs::showMessage;

namespace {

/// Runs a function on the message box that opens next.
void whenOpened(QObject *context, const std::function<void(QMessageBox &)> &function)
{
    auto *timer = new QTimer(context);
    QObject::connect(timer, &QTimer::timeout, context, [timer, function] {
        auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        if (!box)
            return;
        timer->stop();
        function(*box);
    });
    timer->start(2);
}

/// The same, and closes the box whatever the function has found.
void whenOpenedOnce(QObject *context, const std::function<void(QMessageBox &)> &function)
{
    whenOpened(context, [function](QMessageBox &box) {
        function(box);
        box.reject();
    });
}

const QString Title = QStringLiteral("A title");
const QString Text = QStringLiteral("A text");

QString changesOfManyVersions(int count)
{
    QString html = QStringLiteral("<strong>Install ?</strong>");
    for (int version = count; version > 0; --version)
        html += QStringLiteral("<strong>%1.0</strong><ul><li>Better lights</li></ul>").arg(version);
    return html;
}

QString manyNames(int count)
{
    QString names = QStringLiteral("Uninstall Library from this system\n\n");
    for (int number = 0; number < count; ++number)
        names += QStringLiteral("Dependent add-on %1\n").arg(number);
    return names;
}

QRect availableGeometry()
{
    return QGuiApplication::primaryScreen()->availableGeometry();
}

QScrollArea *scrollOf(const QMessageBox &box)
{
    return box.findChild<QScrollArea *>();
}

QLabel *labelOf(const QMessageBox &box)
{
    return box.findChild<QLabel *>(QStringLiteral("qt_msgbox_label"));
}

QRect placeOf(const QWidget &widget)
{
    return {widget.mapToGlobal(QPoint(0, 0)), widget.size()};
}

QString written(const QRect &rect)
{
    return QStringLiteral("%1 x %2 at %3, %4")
        .arg(rect.width())
        .arg(rect.height())
        .arg(rect.x())
        .arg(rect.y());
}

void checkFits(const QMessageBox &box)
{
    QVERIFY2(availableGeometry().contains(box.geometry()), qPrintable(written(box.geometry())));
    QVERIFY(box.height() <= qRound(0.7 * availableGeometry().height()));
    const auto buttons = box.buttons();
    QVERIFY(!buttons.isEmpty());
    for (const QAbstractButton *button : buttons) {
        QVERIFY(button->isVisible());
        QVERIFY(placeOf(box).contains(placeOf(*button)));
        QVERIFY(!scrollOf(box) || !placeOf(*scrollOf(box)).intersects(placeOf(*button)));
    }
}

/// Whether the last line of the text can be brought into sight, and no line is cut at the side.
void checkScrolls(const QMessageBox &box)
{
    const QScrollArea *area = scrollOf(box);
    QVERIFY(area);
    QVERIFY(area->isVisible());
    QVERIFY(area->isAncestorOf(labelOf(box)));
    QCOMPARE(area->horizontalScrollBar()->maximum(), 0);
    auto *bar = area->verticalScrollBar();
    QVERIFY(bar->isVisible());
    QCOMPARE(bar->value(), 0);
    const int width = labelOf(box)->width();
    QVERIFY(labelOf(box)->height() >= labelOf(box)->heightForWidth(width));
    bar->setValue(bar->maximum());
    QVERIFY(placeOf(*labelOf(box)).bottom() <= placeOf(*area).bottom());
}

} // namespace

class MessageBoxesTest final : public QObject
{
    Q_OBJECT

private slots:
    void messageHasASingleOk();
    void questionHasYesAndNoWithoutDefault();
    void yesConfirms();
    void yesThatDestroysHasItsOwnLook();
    void noDoesNot();
    void escapeAnswersNo();
    void markupInAPlainTextStandsAsItIs();
    void richTextIsRich();
    void destroyedParentAnswersNo();
    void highBoxScrollsItsText_data();
    void highBoxScrollsItsText();
    void parentAtTheEdgeKeepsTheButtonsOnTheScreen();
    void highTextIsAnswered();
    void lowBoxDoesNotScroll();
    void textScrollsWithTheKeyboard();
    void newStyleLeavesAHighBoxLow();
    void longWordInAHighBoxIsReached();
};

void MessageBoxesTest::messageHasASingleOk()
{
    QWidget parent;
    MessageBoxAnswers answers;
    answers.expect(Title, Text, QMessageBox::Ok);
    showMessage(&parent, QMessageBox::Critical, Title, Text);
    QVERIFY(answers.allShown());
    const auto &shown = answers.shown().first();
    QCOMPARE(shown.icon, QMessageBox::Critical);
    QCOMPARE(shown.buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
    QCOMPARE(shown.parent, &parent);
}

void MessageBoxesTest::questionHasYesAndNoWithoutDefault()
{
    MessageBoxAnswers answers;
    answers.expect(Title, Text, QMessageBox::No);
    confirm(nullptr, QMessageBox::Question, Title, Text);
    const auto &shown = answers.shown().first();
    QCOMPARE(shown.icon, QMessageBox::Question);
    QCOMPARE(shown.buttons, QMessageBox::Yes | QMessageBox::No);
    QCOMPARE(shown.defaultButton, QMessageBox::NoButton);
}

void MessageBoxesTest::yesConfirms()
{
    MessageBoxAnswers answers;
    answers.expect(Title, Text, QMessageBox::Yes);
    QVERIFY(confirm(nullptr, QMessageBox::Question, Title, Text));
}

void MessageBoxesTest::yesThatDestroysHasItsOwnLook()
{
    qApp->setStyleSheet(QStringLiteral("QMessageBox QPushButton:default { color: #112233; }"
                                       "#DestroyingYes { color: #445566; }"));
    const auto colorOfYes = [this](const std::function<bool()> &ask) {
        QColor color;
        whenOpened(this, [&color](QMessageBox &box) {
            const QAbstractButton *yes = box.button(QMessageBox::Yes);
            color = yes->palette().color(QPalette::ButtonText);
            box.button(QMessageBox::Yes)->click();
        });
        return ask() ? color : QColor();
    };
    QCOMPARE(colorOfYes([] { return confirmLoss(nullptr, QMessageBox::Critical, Title, Text); }),
             QColor(0x44, 0x55, 0x66));
    QVERIFY(colorOfYes([] { return confirm(nullptr, QMessageBox::Question, Title, Text); }) !=
            QColor(0x44, 0x55, 0x66));
    qApp->setStyleSheet(QString());
    whenOpened(this, [](QMessageBox &box) { box.button(QMessageBox::No)->click(); });
    QVERIFY(!confirmLoss(nullptr, QMessageBox::Critical, Title, Text));
}

void MessageBoxesTest::noDoesNot()
{
    MessageBoxAnswers answers;
    answers.expect(Title, Text, QMessageBox::No);
    QVERIFY(!confirm(nullptr, QMessageBox::Question, Title, Text));
}

void MessageBoxesTest::escapeAnswersNo()
{
    bool opened = false;
    whenOpened(this, [&opened](QMessageBox &box) {
        opened = true;
        QTest::keyClick(&box, Qt::Key_Escape);
    });
    QVERIFY(!confirm(nullptr, QMessageBox::Question, Title, Text));
    QVERIFY(opened);
}

void MessageBoxesTest::markupInAPlainTextStandsAsItIs()
{
    for (const bool question : {false, true}) {
        Qt::TextFormat format = Qt::AutoText;
        whenOpened(this, [&format](QMessageBox &box) {
            format = box.findChild<QLabel *>(QStringLiteral("qt_msgbox_label"))->textFormat();
            box.reject();
        });
        const QString text = QStringLiteral("<b>bold</b>");
        if (question)
            confirm(nullptr, QMessageBox::Question, Title, text);
        else
            showMessage(nullptr, QMessageBox::Information, Title, text);
        QCOMPARE(format, Qt::PlainText);
    }
}

void MessageBoxesTest::richTextIsRich()
{
    Qt::TextFormat format = Qt::AutoText;
    whenOpened(this, [&format](QMessageBox &box) {
        format = box.textFormat();
        box.reject();
    });
    confirm(nullptr, QMessageBox::Question, Title, Text, Qt::RichText);
    QCOMPARE(format, Qt::RichText);
}

void MessageBoxesTest::destroyedParentAnswersNo()
{
    QPointer<QWidget> parent = new QWidget;
    whenOpened(this, [&parent](QMessageBox &) { delete parent.data(); });
    QVERIFY(!confirm(parent, QMessageBox::Question, Title, Text));
    QVERIFY(parent.isNull());

    parent = new QWidget;
    whenOpened(this, [&parent](QMessageBox &) { delete parent.data(); });
    showMessage(parent, QMessageBox::Critical, Title, Text);
    QVERIFY(parent.isNull());
}

void MessageBoxesTest::highBoxScrollsItsText_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<Qt::TextFormat>("format");
    QTest::newRow("update over 299 versions") << changesOfManyVersions(299) << Qt::RichText;
    QTest::newRow("update over 15 versions") << changesOfManyVersions(15) << Qt::RichText;
    QTest::newRow("80 dependents") << manyNames(80) << Qt::PlainText;
    QTest::newRow("wide lines")
        << QStringLiteral("A line of many words that is broken. ").repeated(400) << Qt::PlainText;
}

void MessageBoxesTest::highBoxScrollsItsText()
{
    QFETCH(QString, text);
    QFETCH(Qt::TextFormat, format);
    bool checked = false;
    whenOpenedOnce(this, [&](QMessageBox &box) {
        QCOMPARE(box.text(), text);
        QCOMPARE(box.textFormat(), format);
        checkFits(box);
        checkScrolls(box);
        // Qt sizes the box again at every request.
        QCoreApplication::postEvent(&box, new QEvent(QEvent::LayoutRequest));
        QCoreApplication::processEvents();
        checkFits(box);
        checked = true;
    });
    QVERIFY(!confirm(nullptr, QMessageBox::Question, Title, text, format));
    QVERIFY(checked);
}

void MessageBoxesTest::parentAtTheEdgeKeepsTheButtonsOnTheScreen()
{
    QWidget parent;
    parent.setGeometry(availableGeometry().right() - 100, availableGeometry().bottom() - 50, 200,
                       200);
    parent.show();
    bool checked = false;
    whenOpenedOnce(this, [&checked](QMessageBox &box) {
        checkFits(box);
        checked = true;
    });
    confirm(&parent, QMessageBox::Question, Title, manyNames(80));
    QVERIFY(checked);
}

void MessageBoxesTest::highTextIsAnswered()
{
    MessageBoxAnswers answers;
    const QString text = changesOfManyVersions(299);
    answers.expect(Title, text, QMessageBox::Yes);
    QVERIFY(confirm(nullptr, QMessageBox::Question, Title, text, Qt::RichText));
}

void MessageBoxesTest::lowBoxDoesNotScroll()
{
    const QString line = QStringLiteral("A line\n");
    bool checked = false;
    whenOpenedOnce(this, [&checked](QMessageBox &box) {
        QVERIFY(!scrollOf(box));
        QCOMPARE(labelOf(box)->parentWidget(), &box);
        checkFits(box);
        checked = true;
    });
    showMessage(nullptr, QMessageBox::Information, Title, line.repeated(3));
    QVERIFY(checked);
}

void MessageBoxesTest::textScrollsWithTheKeyboard()
{
    bool checked = false;
    whenOpenedOnce(this, [&checked](QMessageBox &box) {
        QVERIFY(QTest::qWaitForWindowActive(&box));
        auto *bar = scrollOf(box)->verticalScrollBar();
        auto *yes = box.button(QMessageBox::Yes);
        yes->setFocus();
        QTest::keyClick(yes, Qt::Key_PageDown);
        QCOMPARE(bar->value(), bar->pageStep());
        QTest::keyClick(yes, Qt::Key_PageUp);
        QCOMPARE(bar->value(), 0);
        // The text itself can have the keyboard, and says what it is.
        bool reached = false;
        for (int step = 0; step < 6 && !reached; ++step) {
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
            const QWidget *focused = QApplication::focusWidget();
            reached = focused == scrollOf(box) || focused == labelOf(box);
        }
        QVERIFY(reached);
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Down);
        QVERIFY(bar->value() > 0);
        QCOMPARE(scrollOf(box)->accessibleName(), Title);
        checked = true;
    });
    confirm(nullptr, QMessageBox::Question, Title, manyNames(80));
    QVERIFY(checked);
}

void MessageBoxesTest::newStyleLeavesAHighBoxLow()
{
    bool checked = false;
    whenOpenedOnce(this, [&checked](QMessageBox &box) {
        QEvent change(QEvent::StyleChange);
        QCoreApplication::sendEvent(&box, &change);
        QCoreApplication::processEvents();
        checkFits(box);
        checkScrolls(box);
        checked = true;
    });
    confirm(nullptr, QMessageBox::Question, Title, manyNames(80));
    QVERIFY(checked);
}

void MessageBoxesTest::longWordInAHighBoxIsReached()
{
    const QString text = QString(2000, QLatin1Char('x')) + QLatin1Char('\n') + manyNames(80);
    bool checked = false;
    whenOpenedOnce(this, [&checked](QMessageBox &box) {
        checkFits(box);
        const QScrollArea *area = scrollOf(box);
        QVERIFY(area);
        const int reachable = area->viewport()->width() + area->horizontalScrollBar()->maximum();
        QVERIFY(reachable >= labelOf(box)->minimumSizeHint().width());
        checked = true;
    });
    confirm(nullptr, QMessageBox::Question, Title, text);
    QVERIFY(checked);
}

KAVO_TEST_MAIN(MessageBoxesTest)
#include "MessageBoxesTest.moc"
