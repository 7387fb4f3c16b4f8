#include "components/WidgetList.h"
#include "downloads/DownloadManager.h"
#include "downloads/PatientQueue.h"
#include "tests/components/Widgets.h"
#include "tests/dialogs/SharedController.h"
#include "tests/support/RunUntil.h"
#include "tests/support/TestMain.h"
#include "ui/list/PackageCards.h"
#include "ui/list/PackageWidget.h"

#include <QBuffer>
#include <QLabel>
#include <QScrollBar>
#include <QSignalSpy>

#include <memory>

using namespace Kavo::Testing;
using namespace Kavo::Ui;
using Kavo::Components::WidgetList;
using Kavo::Managers::PatientQueue;

/// In which order the icons of a long list are asked for.
class PackageIconsTest final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { Kavo::Components::iconFont()->initFontAwesome(); }
    void init();
    void cleanup();

    void iconsInSightComeFirst();
    void iconsOfAHiddenListWaitForTheOthers();
    void archiveIsAskedForAtOnce();
    void iconsOfReplacedCardsAreAskedForOnce();

private:
    static constexpr int Count = 300;

    static QString path(int id) { return QStringLiteral("/icons/%1.png").arg(id); }
    void release();
    bool showsIcon(int row) const;
    /// The rows whose icons have been asked for, from this request on.
    QList<int> askedRows(int from) const;

    std::unique_ptr<Engine> m_engine;
    std::unique_ptr<WidgetList> m_list;
    std::unique_ptr<PackageCards> m_cards;
};

/// A list whose icons are held by the server.
void PackageIconsTest::init()
{
    m_engine = std::make_unique<Engine>();
    QImage image(8, 8, QImage::Format_RGB32);
    image.fill(Qt::red);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    QVERIFY(image.save(&buffer, "PNG"));
    for (int id = 1; id <= Count; ++id) {
        m_engine->server().serve(path(id), bytes).holdsGet = true;
        m_engine->offerObject({{QStringLiteral("id"), id},
                               {QStringLiteral("icon"), m_engine->server().url(path(id))}});
    }
    m_engine->offer({Count + 1});
    QVERIFY(m_engine->refresh());
    m_list = std::make_unique<WidgetList>(QStringLiteral("PackageList"));
    m_list->resize(1000, 600);
    m_cards = std::make_unique<PackageCards>(m_list.get(), sharedController(*m_engine));
    m_list->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_list.get()));
    m_engine->server().forgetRequests();
    QSignalSpy complete(m_cards.get(), &PackageCards::complete);
    m_cards->rebuild();
    QVERIFY(complete.wait(20000));
}

void PackageIconsTest::cleanup()
{
    m_cards.reset();
    m_list.reset();
    m_engine.reset();
}

void PackageIconsTest::release()
{
    for (int id = 1; id <= Count; ++id)
        m_engine->server().release(path(id));
}

bool PackageIconsTest::showsIcon(int row) const
{
    const auto *icon = child<QLabel>(*m_list->rowWidget(row), "PackageIcon");
    return !icon->movie() && !icon->pixmap(Qt::ReturnByValue).isNull();
}

QList<int> PackageIconsTest::askedRows(int from) const
{
    QList<int> rows;
    for (const HttpRequest &request : m_engine->server().requests().mid(from))
        rows.append(request.path.mid(7, request.path.size() - 11).toInt() - 1);
    return rows;
}

void PackageIconsTest::iconsInSightComeFirst()
{
    constexpr int Before = PatientQueue::MostOnTheirWay;
    QVERIFY(m_engine->server().waitForRequests(Before));
    m_list->verticalScrollBar()->setValue(m_list->verticalScrollBar()->maximum() / 2);
    const int first = m_list->visibleRows().first();
    const int last = m_list->visibleRows().last();
    QVERIFY(first > 100 && last > first);
    for (const int row : askedRows(0))
        m_engine->server().release(path(row + 1));
    QVERIFY(m_engine->server().waitForRequests(Before + 4));
    for (const int row : askedRows(Before).mid(0, 3))
        QVERIFY(row == 0 || row == Count || (row >= first - 2 && row <= last + 2));
    release();
    QVERIFY(runUntil(
        [this, first, last] {
            for (int row = first; row <= last; ++row) {
                if (!showsIcon(row))
                    return false;
            }
            return true;
        },
        20000));
    QVERIFY(!showsIcon(Count - 10));
}

void PackageIconsTest::iconsOfAHiddenListWaitForTheOthers()
{
    constexpr int Before = PatientQueue::MostOnTheirWay;
    QVERIFY(m_engine->server().waitForRequests(Before));
    m_list->hide();
    const int released = askedRows(0).first();
    m_engine->server().release(path(released + 1));
    QVERIFY(runUntil([this, released] { return showsIcon(released); }, 20000));
    QCOMPARE(m_engine->server().requests().size(), Before);
    m_list->show();
    QVERIFY(m_engine->server().waitForRequests(Before + 1));
}

void PackageIconsTest::archiveIsAskedForAtOnce()
{
    QVERIFY(m_engine->installAndWait(Count + 1));
    QVERIFY(m_engine->server().requests().size() <= PatientQueue::MostOnTheirWay + 2);
}

/// What cards ask for that are gone is asked for by those in their place.
void PackageIconsTest::iconsOfReplacedCardsAreAskedForOnce()
{
    constexpr int Before = PatientQueue::MostOnTheirWay;
    QVERIFY(m_engine->server().waitForRequests(Before));
    QSignalSpy complete(m_cards.get(), &PackageCards::complete);
    m_cards->rebuild();
    QVERIFY(complete.wait(20000));
    release();
    QVERIFY(runUntil(
        [this] {
            for (int row = 0; row < Count; ++row) {
                if (!showsIcon(row))
                    return false;
            }
            return true;
        },
        30000));
    QCOMPARE(m_engine->server().requests().size(), Count + Before);
}

KAVO_TEST_MAIN(PackageIconsTest)
#include "PackageIconsTest.moc"
