#include "components/Buttons.h"
#include "tests/components/Widgets.h"
#include "tests/support/Literals.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"

#include <QSignalSpy>

using namespace Kavo::Testing;
using namespace Kavo::Components;

class ButtonsTest final : public QObject
{
    Q_OBJECT

private slots:
    void buttonHasItsLook()
    {
        KAVO_NEEDS_ICON_FONT();
        QWidget parent;
        const QIcon icon = lightGlyph(0xf00c);
        const QPushButton *button = makeButton("Name"_s, "Text"_s, icon, &parent);
        QCOMPARE(button->parentWidget(), &parent);
        QCOMPARE(button->objectName(), "Name"_s);
        QCOMPARE(button->text(), "Text"_s);
        QVERIFY(sameIcon(button->icon(), icon));
        QVERIFY(hasHand(*button));

        button = makeIconButton("Name"_s, "Spoken"_s, icon, &parent);
        QVERIFY(button->text().isEmpty());
        QCOMPARE(button->accessibleName(), "Spoken"_s);
        QVERIFY(sameIcon(button->icon(), icon));
        QVERIFY(hasHand(*button));
    }

    void keysPressAButton_data()
    {
        Rows<int, int>()
            .row("Space", int(Qt::Key_Space), 1)
            .row("Return", int(Qt::Key_Return), 1)
            .row("Enter", int(Qt::Key_Enter), 1)
            .row("a letter", int(Qt::Key_A), 0);
    }

    /// Outside dialogs, Qt's buttons do not react to Return and Enter.
    void keysPressAButton()
    {
        const auto [key, clicks] = Rows<int, int>::current();
        QWidget parent;
        QPushButton *button = makeButton(QString(), "Text"_s, QIcon(), &parent);
        parent.show();
        QVERIFY(QTest::qWaitForWindowActive(&parent));
        button->setFocus();
        QSignalSpy clicked(button, &QPushButton::clicked);
        QTest::keyClick(button, static_cast<Qt::Key>(key));
        QCOMPARE(clicked.count(), clicks);
        button->setEnabled(false);
        QTest::keyClick(button, static_cast<Qt::Key>(key));
        QCOMPARE(clicked.count(), clicks);
    }

    void buttonIsNamedAfterItsSubject()
    {
        QWidget parent;
        QPushButton *button = makeButton(QString(), "Get"_s, QIcon(), &parent);
        nameAfterSubject(*button, "%1 & more"_s);
        QCOMPARE(button->accessibleName(), "Get: %1 & more"_s);
        QCOMPARE(button->text(), "Get"_s);
    }
};

KAVO_TEST_MAIN(ButtonsTest)
#include "ButtonsTest.moc"
