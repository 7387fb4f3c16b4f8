#include "tests/integration/Environment.h"
#include "tests/packages/EngineTest.h"
#include "tests/support/Rows.h"
#include "tests/support/RunUntil.h"
#include "tests/support/TestMain.h"

#include <QRandomGenerator>

using namespace Kavo::Models;
using namespace Kavo::Testing;
using Kavo::Controllers::PackageController;

namespace {

constexpr int PackageCount = 9;
constexpr int Rounds = 24;
constexpr int Actions = 30;
constexpr int Patience = 60000; ///< in milliseconds

QStringList versions()
{
    return {"1.0"_s, "2.0"_s};
}

} // namespace

/// Checks that all work ends once its downloads have ended, after random actions of the user. The
/// packages have random dependencies, also circular ones, and some cannot be installed.
/// KAVO_WORK_SEED=NUMBER repeats the actions of a run.
class WorkEndsTest final : public EngineTest
{
    Q_OBJECT

private slots:
    void initTestCase() { m_seed = seedFrom("KAVO_WORK_SEED"); }

    void workEndsWithItsDownloads_data()
    {
        Rows<quint32> rows;
        for (quint32 round = 0; round < Rounds; ++round)
            rows.row("seed " + QByteArray::number(m_seed + round), m_seed + round);
    }

    void workEndsWithItsDownloads()
    {
        const auto [seed] = Rows<quint32>::current();
        m_random.seed(seed);
        offerPackages();
        serveCatalogue();
        QVERIFY(begin());
        for (int action = 0; action < Actions; ++action) {
            act();
            letSomethingHappen();
        }
        // The work has to end without further actions of the user.
        for (int id = 1; id <= PackageCount; ++id) {
            for (const QString &version : versions())
                release(id, version);
        }
        runUntil([this] { return unfinished().isEmpty(); }, Patience);
        QCOMPARE(unfinished(), QString());
        QCOMPARE(wrongs(), QString());
        QCOMPARE(m_refusal, QString());
    }

private:
    void tearDown() override
    {
        stop();
        m_cards.clear();
        m_refreshes = 0;
        m_refusal.clear();
    }

    void offerPackages()
    {
        for (int id = 1; id <= PackageCount; ++id) {
            if (below(8) == 0) {
                offerObject({{"id"_s, id}});
                continue;
            }
            for (const QString &version : versions())
                offer(randomOffer(id, version));
        }
    }

    Offer randomOffer(int id, const QString &version)
    {
        Offer offer{id, version};
        offer.remove = QStringList{"package-%1"_s.arg(id)};
        for (int wanted = below(3); wanted > 0; --wanted) {
            // Some dependencies are not in the catalogue.
            const QString dependency = QString::number(1 + below(PackageCount * 8) / 7);
            offer.depends.append(below(3) == 0 ? dependency + ":2.0"_s : dependency);
        }
        return offer;
    }

    /// Starts the engine and waits for the list of packages.
    bool begin()
    {
        start();
        connect(&controller(), &PackageController::list, this, [this] {
            --m_refreshes;
            m_cards = controller().packages();
        });
        // A request may be sent on a connection that the server is closing at the same time.
        connect(&controller(), &PackageController::error, this, [this] { --m_refreshes; });
        refreshInPassing();
        return runUntil([this] { return m_refreshes == 0; }, Patience) && !m_cards.isEmpty();
    }

    void act()
    {
        const int choice = below(20);
        if (choice < 7)
            installSomething();
        else if (choice < 10)
            uninstallSomething();
        else if (choice < 12)
            refreshInPassing();
        else if (choice < 13)
            quit();
        else if (choice < 15)
            anyArchive().holdsGet = true;
        else if (choice < 18)
            release(anyId(), anyVersion());
        else
            spoil();
    }

    void installSomething()
    {
        // During a refresh, the package may belong to the previous catalogue.
        QString version = below(3) == 0 ? QString() : anyVersion();
        controller().install(anyCard(), version);
    }

    void uninstallSomething()
    {
        const PackagePointer card = anyCard();
        if (card->state() != Package::INSTALLED)
            return;
        const bool free = controller().removalBlockers(card).isEmpty();
        controller().uninstall(card);
        if ((card->state() == Package::AVAILABLE) != free)
            m_refusal = card->name();
    }

    void refreshInPassing()
    {
        ++m_refreshes;
        controller().refresh();
    }

    void quit()
    {
        stop();
        m_refreshes = 0;
        QVERIFY(begin());
    }

    /// Makes the download or the installation of one archive fail from now on.
    void spoil()
    {
        HttpResource &archive = anyArchive();
        switch (below(3)) {
        case 0:
            archive.getStatus = HttpStatus::NOT_FOUND;
            break;
        case 1:
            archive.body = "no archive";
            break;
        default:
            archive.resetAfter = archive.body.size() / 2;
            break;
        }
    }

    /// Lets a random part of the running work proceed.
    void letSomethingHappen()
    {
        for (int turns = below(12); turns > 0; --turns)
            QCoreApplication::processEvents();
        if (below(4) == 0)
            runUntil([this] { return !controller().isBusy(); }, Patience);
    }

    /// Returns the work that has not ended.
    QString unfinished()
    {
        QStringList unfinished;
        if (m_refreshes > 0)
            unfinished.append("%1 refreshes"_s.arg(m_refreshes));
        if (controller().isBusy())
            unfinished.append("the controller"_s);
        for (const PackagePointer &package : m_cards) {
            if (package->isBusy())
                unfinished.append("package %1"_s.arg(package->id()));
        }
        return unfinished.join("; "_s);
    }

    /// Returns the disagreements between packages, records and files when no work is left.
    QString wrongs()
    {
        QStringList wrongs;
        for (const PackagePointer &package : m_cards) {
            const int id = package->id();
            const bool installed = package->state() == Package::INSTALLED;
            if (installed != (recordedStatus(id) == Package::INSTALLED))
                wrongs.append("package %1: other record"_s.arg(id));
            if (installed && !hasFile(id))
                wrongs.append("package %1: no files"_s.arg(id));
            if (!controller().removalBlockers(package).isEmpty())
                wrongs.append("package %1: still blocked"_s.arg(id));
        }
        return wrongs.join("; "_s);
    }

    PackagePointer anyCard() { return m_cards.at(below(m_cards.size())); }
    QString anyVersion() { return versions().at(below(versions().size())); }
    int anyId() { return 1 + below(PackageCount); }
    HttpResource &anyArchive() { return archive(anyId(), anyVersion()); }
    int below(int limit) { return m_random.bounded(limit); }

    quint32 m_seed = 0;
    QRandomGenerator m_random;
    PackageList m_cards; ///< the packages that the window would show
    int m_refreshes = 0;
    QString m_refusal; ///< the package whose removal was wrongly refused or permitted
};

KAVO_TEST_MAIN(WorkEndsTest)
#include "WorkEndsTest.moc"
