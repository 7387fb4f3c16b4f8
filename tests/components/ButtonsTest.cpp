#include "components/Buttons.h"
#include "tests/components/Widgets.h"
#include "tests/support/TestMain.h"

#include <QSignalSpy>

using namespace Kavo::Testing;
using namespace Kavo::Components;

class ButtonsTest final : public QObject
{
    Q_OBJECT

private slots:
    void buttonHasItsLook();
    void keysPressAButton_data();
    void keysPressAButton();
    void buttonIsNamedAfterItsSubject();
};

void ButtonsTest::buttonHasItsLook()
{
    KAVO_NEEDS_ICON_FONT();
    QWidget parent;
    const QIcon icon = lightGlyph(0xf00c);
    const QPushButton *button =
        makeButton(QStringLiteral("Name"), QStringLiteral("Text"), icon, &parent);
    QCOMPARE(button->parentWidget(), &parent);
    QCOMPARE(button->objectName(), QStringLiteral("Name"));
    QCOMPARE(button->text(), QStringLiteral("Text"));
    QVERIFY(sameIcon(button->icon(), icon));
    QVERIFY(hasHand(*button));

    button = makeIconButton(QStringLiteral("Name"), QStringLiteral("Spoken"), icon, &parent);
    QVERIFY(button->text().isEmpty());
    QCOMPARE(button->accessibleName(), QStringLiteral("Spoken"));
    QVERIFY(sameIcon(button->icon(), icon));
    QVERIFY(hasHand(*button));
}

void ButtonsTest::keysPressAButton_data()
{
    QTest::addColumn<int>("key");
    QTest::addColumn<int>("clicks");
    QTest::newRow("Space") << int(Qt::Key_Space) << 1;
    QTest::newRow("Return") << int(Qt::Key_Return) << 1;
    QTest::newRow("Enter") << int(Qt::Key_Enter) << 1;
    QTest::newRow("a letter") << int(Qt::Key_A) << 0;
}

/// No dialog is around that would do it.
void ButtonsTest::keysPressAButton()
{
    QFETCH(int, key);
    QFETCH(int, clicks);
    QWidget parent;
    QPushButton *button = makeButton(QString(), QStringLiteral("Text"), QIcon(), &parent);
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

void ButtonsTest::buttonIsNamedAfterItsSubject()
{
    QWidget parent;
    QPushButton *button = makeButton(QString(), QStringLiteral("Get"), QIcon(), &parent);
    nameAfterSubject(*button, QStringLiteral("%1 & more"));
    QCOMPARE(button->accessibleName(), QStringLiteral("Get: %1 & more"));
    QCOMPARE(button->text(), QStringLiteral("Get"));
}

KAVO_TEST_MAIN(ButtonsTest)
#include "ButtonsTest.moc"
