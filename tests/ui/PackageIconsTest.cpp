#include "components/WidgetList.h"
#include "downloads/PatientQueue.h"
#include "tests/support/RunUntil.h"
#include "tests/support/TestMain.h"
#include "tests/ui/WidgetTest.h"
#include "ui/list/PackageCards.h"

#include <QScrollBar>
#include <QSignalSpy>

using namespace Kavo::Testing;
using Kavo::Components::WidgetList;
using Kavo::Managers::PatientQueue;
using Kavo::Ui::PackageCards;

namespace {

constexpr int Count = 300;
constexpr int Before = PatientQueue::MostOnTheirWay;

QString path(int row)
{
    return "/icons/%1.png"_s.arg(row);
}

} // namespace

/// Tests the order in which the icons of a long list are requested.
class PackageIconsTest final : public WidgetTest
{
    Q_OBJECT

private slots:
    void visibleIconsAreRequestedFirst()
    {
        QVERIFY(server().waitForRequests(Before));
        m_list->verticalScrollBar()->setValue(m_list->verticalScrollBar()->maximum() / 2);
        const int first = m_list->visibleRows().first();
        const int last = m_list->visibleRows().last();
        QVERIFY(first > 100 && last > first);
        for (const int row : askedRows(0))
            server().release(path(row));
        QVERIFY(server().waitForRequests(Before + 4));
        for (const int row : askedRows(Before).mid(0, 3))
            QVERIFY(row == 0 || row == Count || (row >= first - 2 && row <= last + 2));
        releaseAll();
        QVERIFY(waitForIcons(first, last));
        QVERIFY(!showsIcon(Count - 10));
    }

    void iconsOfAHiddenListWaitForTheOthers()
    {
        QVERIFY(server().waitForRequests(Before));
        m_list->hide();
        const int released = askedRows(0).first();
        server().release(path(released));
        QVERIFY(waitForIcons(released, released));
        QCOMPARE(server().requests().size(), Before);
        m_list->show();
        QVERIFY(server().waitForRequests(Before + 1));
    }

    void archiveIsRequestedAtOnce()
    {
        QVERIFY(installAndWait(Count + 1));
        QVERIFY(server().requests().size() <= Before + 2);
    }

    /// Requests of deleted cards are made by the cards that replace them.
    void iconsOfReplacedCardsAreRequestedOnce()
    {
        QVERIFY(server().waitForRequests(Before));
        QVERIFY(rebuild());
        releaseAll();
        QVERIFY(waitForIcons(0, Count - 1));
        QCOMPARE(server().requests().size(), Count + Before);
    }

private:
    /// Shows a list whose icons the server holds back.
    void setUp() override
    {
        const QByteArray icon = png(QSize(8, 8), Qt::red);
        for (int row = 0; row < Count; ++row) {
            server().serve(path(row), icon).holdsGet = true;
            offerObject({{"id"_s, row + 1}, {"icon"_s, server().url(path(row))}});
        }
        offer({Count + 1});
        QVERIFY(refresh());
        m_list = std::make_unique<WidgetList>("PackageList"_s);
        m_list->resize(1000, 600);
        m_cards = std::make_unique<PackageCards>(m_list.get(), shared());
        m_list->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_list.get()));
        server().forgetRequests();
        QVERIFY(rebuild());
    }
    void tearDown() override
    {
        m_cards.reset();
        m_list.reset();
    }
    bool rebuild()
    {
        QSignalSpy complete(m_cards.get(), &PackageCards::complete);
        m_cards->rebuild();
        return complete.wait(20000);
    }
    void releaseAll()
    {
        for (int row = 0; row < Count; ++row)
            server().release(path(row));
    }
    bool showsIcon(int row) const
    {
        const auto *icon = child<QLabel>(*m_list->rowWidget(row), "PackageIcon");
        return !icon->movie() && !icon->pixmap(Qt::ReturnByValue).isNull();
    }
    bool waitForIcons(int first, int last) const
    {
        const auto areShown = [this, first, last] {
            int row = first;
            while (row <= last && showsIcon(row))
                ++row;
            return row > last;
        };
        return runUntil(areShown);
    }
    /// The rows whose icons were requested, beginning with this request.
    QList<int> askedRows(int from)
    {
        QList<int> rows;
        for (const HttpRequest &request : server().requests().mid(from))
            rows.append(QFileInfo(QString::fromLatin1(request.path)).baseName().toInt());
        return rows;
    }

    std::unique_ptr<WidgetList> m_list;
    std::unique_ptr<PackageCards> m_cards;
};

KAVO_TEST_MAIN(PackageIconsTest)
#include "PackageIconsTest.moc"
