#include "components/LoadingAnimation.h"
#include "tests/components/Widgets.h"
#include "tests/support/Literals.h"
#include "tests/support/TestMain.h"

#include <QMovie>
#include <QScrollArea>
#include <QScrollBar>
#include <QSignalSpy>

#include <memory>

using namespace Kavo::Testing;
using Kavo::Components::LoadingAnimation;

namespace {

constexpr QSize Small(24, 24);
constexpr QSize Large(72, 72);

bool isRunning(const QLabel &label)
{
    return label.movie()->state() == QMovie::Running;
}

class PaintCounter final : public QObject
{
public:
    int count() const { return m_count; }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        m_count += event->type() == QEvent::Paint ? 1 : 0;
        return QObject::eventFilter(watched, event);
    }

private:
    int m_count = 0;
};

} // namespace

class LoadingAnimationTest final : public QObject
{
    Q_OBJECT

private slots:
    void labelShowsTheAnimationInItsSize()
    {
        QLabel label;
        LoadingAnimation::play(label, Small);
        QVERIFY(label.movie());
        QVERIFY(label.movie()->isValid());
        QCOMPARE(label.movie()->currentPixmap().size(), Small);
    }

    void labelsOfOneSizeShareOneMovie()
    {
        QLabel first;
        QLabel second;
        QLabel other;
        LoadingAnimation::play(first, Small);
        LoadingAnimation::play(second, Small);
        LoadingAnimation::play(other, Large);
        QCOMPARE(first.movie(), second.movie());
        QVERIFY(first.movie() != other.movie());
    }

    void movieRunsWhileALabelIsVisible()
    {
        QLabel first;
        QLabel second;
        LoadingAnimation::play(first, Small);
        LoadingAnimation::play(second, Small);
        QVERIFY(!isRunning(first));
        first.show();
        QVERIFY(isRunning(first));
        second.show();
        first.hide();
        QVERIFY(isRunning(second));
        second.hide();
        QVERIFY(!isRunning(second));
        second.show();
        QVERIFY(isRunning(second));
    }

    void hiddenParentStopsTheMovie()
    {
        QWidget window;
        auto *page = new QWidget(&window);
        auto *label = new QLabel(page);
        LoadingAnimation::play(*label, Small);
        window.show();
        QVERIFY(isRunning(*label));
        page->hide();
        QVERIFY(!isRunning(*label));
    }

    void destroyedLabelStopsTheMovie()
    {
        QLabel watcher;
        LoadingAnimation::play(watcher, Small);
        auto label = std::make_unique<QLabel>();
        LoadingAnimation::play(*label, Small);
        label->show();
        QVERIFY(isRunning(watcher));
        label.reset();
        QVERIFY(!isRunning(watcher));
    }

    void stoppedLabelIsEmpty()
    {
        QLabel watcher;
        LoadingAnimation::play(watcher, Small);
        QLabel label;
        LoadingAnimation::play(label, Small);
        label.show();
        LoadingAnimation::stop(label);
        QVERIFY(!label.movie());
        QVERIFY(!isRunning(watcher));
        label.hide();
        label.show();
        QVERIFY(!isRunning(watcher));
    }

    void stoppingALabelThatPlaysNothingChangesNothing()
    {
        QLabel label("text"_s);
        LoadingAnimation::stop(label);
        QCOMPARE(label.text(), "text"_s);
    }

    void playingTwiceCountsOnce()
    {
        QLabel label;
        label.show();
        LoadingAnimation::play(label, Small);
        LoadingAnimation::play(label, Small);
        QVERIFY(isRunning(label));
        label.hide();
        QVERIFY(!isRunning(label));
    }

    void labelChangesItsSize()
    {
        QLabel watcher;
        LoadingAnimation::play(watcher, Small);
        QLabel label;
        label.show();
        LoadingAnimation::play(label, Small);
        LoadingAnimation::play(label, Large);
        QVERIFY(!isRunning(watcher));
        QVERIFY(isRunning(label));
        QCOMPARE(label.movie()->scaledSize(), Large);
    }

    void labelOutOfSightPausesTheMovie()
    {
        QScrollArea area;
        auto *page = new QWidget;
        page->resize(100, 2000);
        auto *label = new QLabel(page);
        label->setGeometry(0, 1000, 96, 96);
        LoadingAnimation::play(*label, Small);
        const QMovie *movie = label->movie();
        area.setWidget(page);
        area.resize(120, 200);
        area.show();
        QVERIFY(QTest::qWaitForWindowExposed(&area));
        QTRY_COMPARE(movie->state(), QMovie::Paused);
        QCOMPARE(label->sizeHint(), Small);
        QCOMPARE(label->movie(), movie);
        QVERIFY(!movie->currentPixmap().isNull());

        area.ensureWidgetVisible(label);
        QTRY_COMPARE(movie->state(), QMovie::Running);
        QSignalSpy frames(movie, &QMovie::frameChanged);
        PaintCounter paints;
        label->installEventFilter(&paints);
        QTRY_VERIFY(frames.count() > 10);
        QVERIFY(paints.count() > 5);
        QCOMPARE(movie->state(), QMovie::Running);

        area.verticalScrollBar()->setValue(0);
        QTRY_COMPARE(movie->state(), QMovie::Paused);
        LoadingAnimation::stop(*label);
        QVERIFY(!label->pixmap() || label->pixmap()->isNull());
    }
};

KAVO_TEST_MAIN(LoadingAnimationTest)
#include "LoadingAnimationTest.moc"
