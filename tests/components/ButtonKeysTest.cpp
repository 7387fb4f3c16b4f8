#include "components/ButtonKeys.h"
#include "components/Buttons.h"
#include "tests/components/Widgets.h"
#include "tests/support/Literals.h"
#include "tests/support/TestMain.h"

#include <QAccessible>
#include <QDialog>
#include <QHelpEvent>
#include <QLineEdit>
#include <QSignalSpy>
#include <QToolTip>

#include <memory>

using namespace Kavo::Testing;
using namespace Kavo::Components;

class ButtonKeysTest final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_window = std::make_unique<QWidget>();
        m_window->resize(300, 200);
        m_field = new QLineEdit(m_window.get());
        m_button = makeIconButton("Button"_s, "Reload"_s, QIcon(), m_window.get());
        giveKeys(*m_button, {Qt::Key_F5, int(Qt::CTRL) + Qt::Key_R});
        m_window->show();
        QVERIFY(QTest::qWaitForWindowActive(m_window.get()));
        m_field->setFocus();
    }

    void cleanup()
    {
        QToolTip::hideText();
        m_window.reset();
    }

    void keysPressTheButton()
    {
        QSignalSpy clicked(m_button, &QPushButton::clicked);
        QTest::keyClick(m_window->windowHandle(), Qt::Key_F5);
        QCOMPARE(clicked.count(), 1);
        QTest::keyClick(m_window->windowHandle(), Qt::Key_R, Qt::ControlModifier);
        QCOMPARE(clicked.count(), 2);
        QTest::keyClick(m_window->windowHandle(), Qt::Key_R);
        QTest::keyClick(m_window->windowHandle(), Qt::Key_F5, Qt::ShiftModifier);
        QCOMPARE(clicked.count(), 2);
        QCOMPARE(m_field->text(), "r"_s);
    }

    void keyThatIsHeldDownPressesOnce()
    {
        QSignalSpy clicked(m_button, &QPushButton::clicked);
        for (const bool again : {false, true, true, true})
            QTest::simulateEvent(m_field, true, Qt::Key_F5, Qt::NoModifier, QString(), again);
        QCOMPARE(clicked.count(), 1);
    }

    void keysOfADisabledButtonDoNothing()
    {
        QSignalSpy clicked(m_button, &QPushButton::clicked);
        m_button->setEnabled(false);
        QTest::keyClick(m_window->windowHandle(), Qt::Key_F5);
        QCOMPARE(clicked.count(), 0);
        m_button->setEnabled(true);
        QTest::keyClick(m_window->windowHandle(), Qt::Key_F5);
        QCOMPARE(clicked.count(), 1);
    }

    void keysBehindADialogDoNothing()
    {
        QSignalSpy clicked(m_button, &QPushButton::clicked);
        QDialog dialog(m_window.get());
        dialog.setModal(true);
        dialog.show();
        QVERIFY(QTest::qWaitForWindowActive(&dialog));
        QTest::keyClick(dialog.windowHandle(), Qt::Key_F5);
        QCOMPARE(clicked.count(), 0);
    }

    void keysInAnotherWindowDoNothing()
    {
        QSignalSpy clicked(m_button, &QPushButton::clicked);
        QWidget other;
        other.show();
        QVERIFY(QTest::qWaitForWindowActive(&other));
        QTest::keyClick(other.windowHandle(), Qt::Key_F5);
        QCOMPARE(clicked.count(), 0);
    }

    void toolTipNamesTheKeys()
    {
        m_button->setToolTip("Load anew"_s);
        QCOMPARE(shownTip(), "Load anew (F5, Ctrl+R)"_s);
        // The property itself does not change.
        QCOMPARE(m_button->toolTip(), "Load anew"_s);
    }

    void toolTipFollowsTheName()
    {
        QCOMPARE(shownTip(), "Reload (F5, Ctrl+R)"_s);
        m_button->setAccessibleName("Stop"_s);
        QCOMPARE(shownTip(), "Stop (F5, Ctrl+R)"_s);
    }

    void keysAreInTheAccessibleDescription()
    {
        const QAccessibleInterface *spoken = QAccessible::queryAccessibleInterface(m_button);
        QCOMPARE(spoken->text(QAccessible::Name), "Reload"_s);
        QCOMPARE(spoken->text(QAccessible::Description), "F5, Ctrl+R"_s);
    }

private:
    QString shownTip()
    {
        QHelpEvent event(QEvent::ToolTip, QPoint(1, 1), m_button->mapToGlobal(QPoint(1, 1)));
        QCoreApplication::sendEvent(m_button, &event);
        return QToolTip::text();
    }

    std::unique_ptr<QWidget> m_window;
    QLineEdit *m_field = nullptr;
    QPushButton *m_button = nullptr;
};

KAVO_TEST_MAIN(ButtonKeysTest)
#include "ButtonKeysTest.moc"
