#include "components/WindowEdges.h"
#include "tests/components/Widgets.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"

#include <QHBoxLayout>
#include <QLabel>

#include <memory>

using namespace Kavo::Testing;
using Kavo::Components::WindowEdges;

namespace {

/// Counts the mouse presses that reach a widget.
class PressCount final : public QObject
{
public:
    using QObject::QObject;

    int count() const { return m_count; }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        m_count += event->type() == QEvent::MouseButtonPress ? 1 : 0;
        return QObject::eventFilter(watched, event);
    }

private:
    int m_count = 0;
};

} // namespace

class WindowEdgesTest final : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_window = std::make_unique<QWidget>(nullptr, Qt::FramelessWindowHint);
        m_window->resize(400, 300);
        auto *layout = new QHBoxLayout(m_window.get());
        layout->setContentsMargins(8, 8, 8, 8);
        layout->addWidget(new QLabel(m_window.get()));
        // Qt calls event filters in the reverse order of their installation, so this one is called
        // last.
        m_presses = new PressCount(m_window.get());
        m_window->installEventFilter(m_presses);
        new WindowEdges(m_window.get());
        m_window->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
        QCOMPARE(m_window->size(), QSize(400, 300));
    }

    void cleanup() { m_window.reset(); }

    void edgesHaveTheirCursors_data()
    {
        Rows<QPoint, Qt::CursorShape>()
            .row("left", QPoint(0, 150), Qt::SizeHorCursor)
            .row("right", QPoint(399, 150), Qt::SizeHorCursor)
            .row("top", QPoint(200, 0), Qt::SizeVerCursor)
            .row("bottom", QPoint(200, 299), Qt::SizeVerCursor)
            .row("left, as far as it reaches", QPoint(5, 150), Qt::SizeHorCursor)
            .row("right, as far as it reaches", QPoint(394, 150), Qt::SizeHorCursor)
            .row("top, as far as it reaches", QPoint(200, 5), Qt::SizeVerCursor)
            .row("bottom, as far as it reaches", QPoint(200, 294), Qt::SizeVerCursor)
            .row("upper left", QPoint(1, 1), Qt::SizeFDiagCursor)
            .row("upper left, along the edge", QPoint(12, 2), Qt::SizeFDiagCursor)
            .row("lower right", QPoint(399, 299), Qt::SizeFDiagCursor)
            .row("upper right", QPoint(399, 0), Qt::SizeBDiagCursor)
            .row("lower left", QPoint(0, 299), Qt::SizeBDiagCursor)
            .row("lower left, along the edge", QPoint(2, 288), Qt::SizeBDiagCursor);
    }

    void edgesHaveTheirCursors()
    {
        const auto [place, cursor] = Rows<QPoint, Qt::CursorShape>::current();
        QCOMPARE(cursorAt(place), cursor);
    }

    void edgesTakeTheLeftButtonOnly()
    {
        const QPoint edge(0, 150);
        const QPoint inside(7, 150);
        QTest::mouseClick(m_window.get(), Qt::RightButton, {}, edge);
        QCOMPARE(m_presses->count(), 1);
        QTest::mouseClick(m_window.get(), Qt::LeftButton, {}, inside);
        QCOMPARE(m_presses->count(), 2);
        QTest::mouseClick(m_window.get(), Qt::LeftButton, {}, edge);
        QCOMPARE(m_presses->count(), 2);
    }

    void insideHasTheNormalCursor()
    {
        for (const QPoint place : {QPoint(6, 150), QPoint(393, 150), QPoint(200, 6),
                                   QPoint(200, 293), QPoint(10, 10), QPoint(200, 150)})
            QCOMPARE(cursorAt(place), Qt::ArrowCursor);
    }

    void pointerThatLeavesTheEdgeLosesItsCursor()
    {
        QCOMPARE(cursorAt({0, 150}), Qt::SizeHorCursor);
        // A child widget inherits the cursor of its parent.
        QCOMPARE(cursorAt({100, 150}), Qt::ArrowCursor);
        QCOMPARE(cursorAt({200, 299}), Qt::SizeVerCursor);
    }

    void edgesFollowTheSize()
    {
        m_window->resize(500, 350);
        QTRY_COMPARE(cursorAt({499, 349}), Qt::SizeFDiagCursor);
        QCOMPARE(cursorAt({499, 150}), Qt::SizeHorCursor);
        QCOMPARE(cursorAt({399, 150}), Qt::ArrowCursor);
    }

    void windowThatFillsTheScreenHasNoEdges_data()
    {
        Rows<Qt::WindowState>()
            .row("maximised", Qt::WindowMaximized)
            .row("full screen", Qt::WindowFullScreen);
    }

    void windowThatFillsTheScreenHasNoEdges()
    {
        const auto [state] = Rows<Qt::WindowState>::current();
        m_window->setWindowState(state);
        QTRY_COMPARE(m_window->windowState() & state, state);
        QCOMPARE(cursorAt({0, 150}), Qt::ArrowCursor);
        m_window->setWindowState(Qt::WindowNoState);
        QTRY_COMPARE(cursorAt({0, 150}), Qt::SizeHorCursor);
    }

private:
    /// Moves the pointer to a place and returns the cursor shape there.
    Qt::CursorShape cursorAt(const QPoint &place) const
    {
        // Only a pointer that moves causes an event.
        QTest::mouseMove(m_window->windowHandle(), m_window->rect().center());
        QTest::mouseMove(m_window->windowHandle(), place);
        const QWidget *part = m_window->childAt(place);
        return (part ? part : m_window.get())->cursor().shape();
    }

    std::unique_ptr<QWidget> m_window;
    PressCount *m_presses = nullptr; ///< the presses that the edges do not consume
};

KAVO_TEST_MAIN(WindowEdgesTest)
#include "WindowEdgesTest.moc"
