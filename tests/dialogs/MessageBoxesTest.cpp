#include "dialogs/MessageBoxes.h"
#include "tests/support/Literals.h"
#include "tests/support/MessageBoxAnswers.h"
#include "tests/support/Rows.h"
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

using Look = std::function<void(QMessageBox &)>;

/// Opens a box and calls a function with it. A box that is still open afterwards is rejected.
void lookAt(const std::function<void()> &open, const Look &look)
{
    bool wasLookedAt = false;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, &timer, [&] {
        const QPointer<QMessageBox> box =
            qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        if (!box)
            return;
        timer.stop();
        wasLookedAt = true;
        look(*box);
        if (box && box->isVisible())
            box->reject();
    });
    timer.start(2);
    open();
    QVERIFY(wasLookedAt);
}

const QString Title = "A title"_s;
const QString Text = "A text"_s;

/// Opens a question with this text and calls a function with its box.
void lookAtQuestion(const QString &text, const Look &look, Qt::TextFormat format = Qt::PlainText)
{
    lookAt([&] { QVERIFY(!confirm(nullptr, QMessageBox::Question, Title, text, format)); }, look);
}

QString changesOfManyVersions(int count)
{
    QString html = "<strong>Install ?</strong>"_s;
    for (int version = count; version > 0; --version)
        html += "<strong>%1.0</strong><ul><li>Better lights</li></ul>"_s.arg(version);
    return html;
}

QString manyNames(int count)
{
    QString names = "Uninstall Library from this system\n\n"_s;
    for (int number = 0; number < count; ++number)
        names += "Dependent add-on %1\n"_s.arg(number);
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
    return box.findChild<QLabel *>("qt_msgbox_label"_s);
}

QRect placeOf(const QWidget &widget)
{
    return {widget.mapToGlobal(QPoint(0, 0)), widget.size()};
}

QString written(const QRect &rect)
{
    return "%1 x %2 at %3, %4"_s.arg(rect.width()).arg(rect.height()).arg(rect.x()).arg(rect.y());
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

/// Checks that the last line of the text can be scrolled into view and that no line is cut off at
/// the side.
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
    void questionIsAnswered_data();
    void questionIsAnswered();
    void yesThatDestroysHasItsOwnLook();
    void escapeAnswersNo();
    void markupInAPlainTextIsNotInterpreted();
    void destroyedParentAnswersNo();
    void highBoxScrollsItsText_data();
    void highBoxScrollsItsText();
    void parentAtTheEdgeKeepsTheButtonsOnTheScreen();
    void lowBoxDoesNotScroll();
    void textScrollsWithTheKeyboard();
    void longWordInAHighBoxCanBeScrolledTo();
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

void MessageBoxesTest::questionIsAnswered_data()
{
    Rows<bool, QString>()
        .row("yes", true, Text)
        .row("no", false, Text)
        .row("yes to a high text", true, changesOfManyVersions(299));
}

void MessageBoxesTest::questionIsAnswered()
{
    const auto [isYes, text] = Rows<bool, QString>::current();
    MessageBoxAnswers answers;
    answers.expect(Title, text, isYes ? QMessageBox::Yes : QMessageBox::No);
    QCOMPARE(confirm(nullptr, QMessageBox::Question, Title, text, Qt::RichText), isYes);
    const auto &shown = answers.shown().first();
    QCOMPARE(shown.icon, QMessageBox::Question);
    QCOMPARE(shown.buttons, QMessageBox::Yes | QMessageBox::No);
    QCOMPARE(shown.defaultButton, QMessageBox::NoButton);
}

void MessageBoxesTest::yesThatDestroysHasItsOwnLook()
{
    qApp->setStyleSheet(
        "QMessageBox QPushButton:default { color: #112233; }#DestroyingYes { color: #445566; }"_s);
    const auto colorOfYes =
        [](bool (*ask)(QWidget *, QMessageBox::Icon, const QString &, const QString &)) {
            QColor color;
            bool isYes = false;
            lookAt([&] { isYes = ask(nullptr, QMessageBox::Critical, Title, Text); },
                   [&](QMessageBox &box) {
                       QAbstractButton *yes = box.button(QMessageBox::Yes);
                       color = yes->palette().color(QPalette::ButtonText);
                       yes->click();
                   });
            return isYes ? color : QColor();
        };
    const QColor destroying(0x44, 0x55, 0x66);
    QCOMPARE(colorOfYes(&confirmLoss), destroying);
    const QColor other =
        colorOfYes([](QWidget *parent, QMessageBox::Icon icon, const QString &title,
                      const QString &text) { return confirm(parent, icon, title, text); });
    QVERIFY(other.isValid() && other != destroying);
    qApp->setStyleSheet(QString());
    lookAt([] { QVERIFY(!confirmLoss(nullptr, QMessageBox::Critical, Title, Text)); },
           [](QMessageBox &box) { box.button(QMessageBox::No)->click(); });
}

void MessageBoxesTest::escapeAnswersNo()
{
    lookAtQuestion(Text, [](QMessageBox &box) {
        QTest::keyClick(&box, Qt::Key_Escape);
        QVERIFY(!box.isVisible());
    });
}

void MessageBoxesTest::markupInAPlainTextIsNotInterpreted()
{
    const QString text = "<b>bold</b>"_s;
    const Look isPlain = [](QMessageBox &box) {
        QCOMPARE(labelOf(box)->textFormat(), Qt::PlainText);
    };
    lookAtQuestion(text, isPlain);
    lookAt([&] { showMessage(nullptr, QMessageBox::Information, Title, text); }, isPlain);
}

void MessageBoxesTest::destroyedParentAnswersNo()
{
    QPointer<QWidget> parent = new QWidget;
    const Look destroy = [&parent](QMessageBox &) { delete parent.data(); };
    lookAt([&] { QVERIFY(!confirm(parent, QMessageBox::Question, Title, Text)); }, destroy);
    QVERIFY(parent.isNull());
    parent = new QWidget;
    lookAt([&] { showMessage(parent, QMessageBox::Critical, Title, Text); }, destroy);
    QVERIFY(parent.isNull());
}

void MessageBoxesTest::highBoxScrollsItsText_data()
{
    Rows<QString, Qt::TextFormat>()
        .row("update over 299 versions", changesOfManyVersions(299), Qt::RichText)
        .row("update over 15 versions", changesOfManyVersions(15), Qt::RichText)
        .row("80 dependents", manyNames(80), Qt::PlainText)
        .row("wide lines", "A line of many words that is broken. "_s.repeated(400), Qt::PlainText);
}

void MessageBoxesTest::highBoxScrollsItsText()
{
    const auto [text, format] = Rows<QString, Qt::TextFormat>::current();
    const auto check = [text = text, format = format](QMessageBox &box) {
        QCOMPARE(box.text(), text);
        QCOMPARE(box.textFormat(), format);
        checkFits(box);
        checkScrolls(box);
        // Qt resizes the box on every layout request and when the style changes.
        for (const auto request : {QEvent::LayoutRequest, QEvent::StyleChange}) {
            QEvent event(request);
            QCoreApplication::sendEvent(&box, &event);
            QCoreApplication::processEvents();
            checkFits(box);
            scrollOf(box)->verticalScrollBar()->setValue(0);
            checkScrolls(box);
        }
    };
    lookAtQuestion(text, check, format);
}

void MessageBoxesTest::parentAtTheEdgeKeepsTheButtonsOnTheScreen()
{
    QWidget parent;
    parent.setGeometry(availableGeometry().right() - 100, availableGeometry().bottom() - 50, 200,
                       200);
    parent.show();
    lookAt([&] { confirm(&parent, QMessageBox::Question, Title, manyNames(80)); }, checkFits);
}

void MessageBoxesTest::lowBoxDoesNotScroll()
{
    lookAt([] { showMessage(nullptr, QMessageBox::Information, Title, "A line\n"_s.repeated(3)); },
           [](QMessageBox &box) {
               QVERIFY(!scrollOf(box));
               QCOMPARE(labelOf(box)->parentWidget(), &box);
               checkFits(box);
           });
}

void MessageBoxesTest::textScrollsWithTheKeyboard()
{
    lookAtQuestion(manyNames(80), [](QMessageBox &box) {
        QVERIFY(QTest::qWaitForWindowActive(&box));
        auto *bar = scrollOf(box)->verticalScrollBar();
        auto *yes = box.button(QMessageBox::Yes);
        yes->setFocus();
        QTest::keyClick(yes, Qt::Key_PageDown);
        QCOMPARE(bar->value(), bar->pageStep());
        QTest::keyClick(yes, Qt::Key_PageUp);
        QCOMPARE(bar->value(), 0);
        // The text itself can have the keyboard focus, and has an accessible name.
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
    });
}

void MessageBoxesTest::longWordInAHighBoxCanBeScrolledTo()
{
    const QString word(2000, QLatin1Char('x'));
    lookAtQuestion(word + QLatin1Char('\n') + manyNames(80), [](QMessageBox &box) {
        checkFits(box);
        const QScrollArea *area = scrollOf(box);
        QVERIFY(area);
        const int reachable = area->viewport()->width() + area->horizontalScrollBar()->maximum();
        QVERIFY(reachable >= labelOf(box)->minimumSizeHint().width());
    });
}

KAVO_TEST_MAIN(MessageBoxesTest)
#include "MessageBoxesTest.moc"
