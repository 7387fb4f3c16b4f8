#include "components/FocusRing.h"
#include "tests/components/Widgets.h"
#include "tests/support/Literals.h"
#include "tests/support/TestMain.h"

#include <QDialog>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>

#include <memory>

using namespace Kavo::Testing;
using Kavo::Components::FocusRing;

class FocusRingTest final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        qApp->setStyleSheet("#FocusRing { qproperty-color: #ff0000; }"_s);
        m_follower = std::make_unique<QObject>();
        FocusRing::follow(m_follower.get());
        m_window = std::make_unique<QWidget>();
        // The box has no margins, like the button box of a dialog.
        auto *box = new QWidget(m_window.get());
        auto *row = new QHBoxLayout(box);
        row->setContentsMargins(0, 0, 0, 0);
        m_first = new QPushButton("First"_s, box);
        m_second = new QPushButton("Second"_s, box);
        m_field = new QLineEdit(box);
        row->addWidget(m_first);
        row->addWidget(m_second);
        row->addWidget(m_field);
        auto *layout = new QHBoxLayout(m_window.get());
        layout->addWidget(box);
        m_window->show();
        m_window->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(m_window.get()));
        m_second->setFocus();
    }

    void cleanup()
    {
        m_window.reset();
        m_follower.reset();
        qApp->setStyleSheet(QString());
    }

    void ringSurroundsTheButton()
    {
        const FocusRing *ring = ringIn(*m_window);
        QVERIFY(ring);
        QVERIFY(ring->isVisible());
        QCOMPARE(placeOf(*ring), placeOf(*m_second).adjusted(-4, -4, 4, 4));
        // The box does not clip the ring.
        QCOMPARE(ring->visibleRegion().boundingRect(), ring->rect());
        QTRY_COMPARE(ring->color(), QColor(Qt::red));
        const QImage picture = m_window->grab(placeOf(*ring)).toImage();
        const int middle = picture.height() / 2;
        QCOMPARE(picture.pixelColor(0, middle), QColor(Qt::red));
        QCOMPARE(picture.pixelColor(1, middle), QColor(Qt::red));
        QCOMPARE(picture.pixelColor(2, middle), QColor(Qt::white));
        QCOMPARE(picture.pixelColor(3, middle), QColor(Qt::white));
    }

    void ringFollowsTheFocus()
    {
        m_first->setFocus();
        QCOMPARE(placeOf(*ringIn(*m_window)), placeOf(*m_first).adjusted(-4, -4, 4, 4));
        m_field->setFocus();
        QVERIFY(!ringIn(*m_window));
        m_first->setFocus();
        QVERIFY(ringIn(*m_window)->isVisible());
        // The next button receives the focus.
        m_first->hide();
        QCOMPARE(placeOf(*ringIn(*m_window)), placeOf(*m_second).adjusted(-4, -4, 4, 4));
    }

    void ringFollowsAButtonThatMoves()
    {
        const QRect before = placeOf(*m_second);
        m_window->resize(m_window->width() + 200, m_window->height() + 100);
        QTRY_VERIFY(placeOf(*m_second) != before);
        QTRY_COMPARE(placeOf(*ringIn(*m_window)), placeOf(*m_second).adjusted(-4, -4, 4, 4));
    }

    void ringFollowsTheBoxOfTheButton()
    {
        const QRect before = placeOf(*m_second);
        QWidget *box = m_second->parentWidget();
        box->move(box->pos() + QPoint(3, 5));
        QCOMPARE(placeOf(*m_second), before.translated(3, 5));
        QCOMPARE(placeOf(*ringIn(*m_window)), placeOf(*m_second).adjusted(-4, -4, 4, 4));
    }

    void ringScrollsWithItsButton()
    {
        auto *area = new QScrollArea(m_window.get());
        auto *content = new QWidget;
        content->setFixedSize(100, 1000);
        auto *button = new QPushButton("Scrolled"_s, content);
        button->move(10, 40);
        area->setWidget(content);
        m_window->layout()->addWidget(area);
        QTRY_VERIFY(button->isVisible());
        button->setFocus();
        // The ring is a child of the viewport, so that it is scrolled with its button.
        const FocusRing *ring = ringIn(*m_window);
        QVERIFY(ring);
        QCOMPARE(ring->parentWidget(), area->viewport());
        area->verticalScrollBar()->setValue(30);
        QCOMPARE(placeOf(*ring), placeOf(*button).adjusted(-4, -4, 4, 4));
    }

    void ringIsHiddenWithItsButton()
    {
        m_window->hide();
        QVERIFY(!ringIn(*m_window) || !ringIn(*m_window)->isVisible());
    }

    void ringIsDeletedWithItsButton()
    {
        m_first->hide();
        m_field->hide();
        delete m_second;
        QTRY_VERIFY(!ringIn(*m_window));
    }

    void ringAcceptsNeitherFocusNorMouse()
    {
        QCOMPARE(ringIn(*m_window)->focusPolicy(), Qt::NoFocus);
        QCOMPARE(m_window->childAt(placeOf(*m_second).center()), m_second);
    }

    void ringServesEveryWindow()
    {
        {
            QDialog dialog(m_window.get());
            auto *layout = new QHBoxLayout(&dialog);
            auto *button = new QPushButton("Ok"_s, &dialog);
            layout->addWidget(button);
            dialog.show();
            dialog.activateWindow();
            QTRY_COMPARE(QApplication::activeWindow(), &dialog);
            button->setFocus();
            QVERIFY(ringIn(dialog));
            QVERIFY(ringIn(dialog)->isVisible());
        }
        // The ring of the dialog was deleted with it.
        m_window->activateWindow();
        QTRY_COMPARE(QApplication::activeWindow(), m_window.get());
        m_field->setFocus();
        m_first->setFocus();
        QVERIFY(ringIn(*m_window));
        QVERIFY(ringIn(*m_window)->isVisible());
    }

    void ringIsDeletedWithItsFollower()
    {
        QVERIFY(ringIn(*m_window));
        m_follower.reset();
        QVERIFY(!ringIn(*m_window));
        m_first->setFocus();
        QVERIFY(!ringIn(*m_window));
    }

private:
    static FocusRing *ringIn(const QWidget &window) { return window.findChild<FocusRing *>(); }
    QRect placeOf(const QWidget &part) const
    {
        return {part.mapTo(m_window.get(), QPoint()), part.size()};
    }

    std::unique_ptr<QObject> m_follower;
    std::unique_ptr<QWidget> m_window;
    QPushButton *m_first = nullptr;
    QPushButton *m_second = nullptr;
    QLineEdit *m_field = nullptr;
};

KAVO_TEST_MAIN(FocusRingTest)
#include "FocusRingTest.moc"
