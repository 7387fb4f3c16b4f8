#include "core/Settings.h"
#include "tests/support/Archives.h"
#include "tests/support/TestMain.h"

using namespace Kavo;
using namespace Kavo::Testing;

class SettingsTest final : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void fileLiesInTheUsersConfiguration();
    void keysComeInTheirOrder();
    void missingFileGivesEmptyValues();
    void unreadableFileGivesEmptyValues();
    void storedValuesReachBothCopies();
    void emptyValueIsLikeAMissingKey();
    void editsStayPendingUntilApplied();
    void applyWritesNothing();
    void commitWritesAndApplies();
    void revertDropsEdits();
    void saveWritesThePendingCopy();
    void resetEmptiesTheFile();
    void unknownKeysOfTheFileSurvive();
    void failingWritesAreIgnored();
    void textsComeBackLetterForLetter();
    void filterHidesForTheExactTextOnly_data();
    void filterHidesForTheExactTextOnly();
    void repositorySwitchIgnoresLetterCase_data();
    void repositorySwitchIgnoresLetterCase();
    void theOnlySignalIsNeverEmitted();

private:
    /// What another program reads in the file, sorted.
    QStringList lines() const;
    bool writeIni(const QByteArray &entries) const;

    QScopedPointer<ScratchProfile> m_profile;
};

void SettingsTest::init()
{
    m_profile.reset(new ScratchProfile);
}

void SettingsTest::cleanup()
{
    m_profile.reset();
}

QStringList SettingsTest::lines() const
{
    QStringList lines = QString::fromUtf8(readFile(m_profile->settingsFile()))
                            .split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    lines.sort();
    return lines;
}

bool SettingsTest::writeIni(const QByteArray &entries) const
{
    return writeFile(m_profile->settingsFile(), "[General]\n" + entries);
}

// Fixed, see docs/compatibility.md.
void SettingsTest::fileLiesInTheUsersConfiguration()
{
    const Settings settings;
    QCOMPARE(settings.fileName(),
             m_profile->home() + QStringLiteral("/.config/Quarnell/Kavo Suite.ini"));
    QCOMPARE(settings.format(), QSettings::IniFormat);
    QCOMPARE(settings.scope(), QSettings::UserScope);
}

// Fixed, see docs/compatibility.md.
void SettingsTest::keysComeInTheirOrder()
{
    Settings settings;
    const QStringList keys{QStringLiteral("Installation"), QStringLiteral("Language"),
                           QStringLiteral("Cache"),        QStringLiteral("Preserve"),
                           QStringLiteral("Backup"),       QStringLiteral("ShowFilter"),
                           QStringLiteral("LocalRepo")};
    for (const auto &configuration :
         {settings.currentConfiguration(), settings.pendingConfiguration()}) {
        QStringList found;
        for (const Settings::Entry &entry : configuration)
            found.append(entry.key);
        QCOMPARE(found, keys);
    }
    QCOMPARE(settings.currentConfiguration()[Settings::LOCAL_REPO].key,
             QStringLiteral("LocalRepo"));
}

void SettingsTest::missingFileGivesEmptyValues()
{
    Settings settings;
    for (const Settings::Entry &entry : settings.currentConfiguration())
        QCOMPARE(entry.value, QString());
    QVERIFY(!QFile::exists(m_profile->settingsFile()));
}

void SettingsTest::unreadableFileGivesEmptyValues()
{
    QVERIFY(QDir().mkpath(m_profile->settingsFile()));
    const Settings settings;
    for (const Settings::Entry &entry : settings.currentConfiguration())
        QCOMPARE(entry.value, QString());
}

void SettingsTest::storedValuesReachBothCopies()
{
    QVERIFY(writeIni("Installation=/opt/X-Plane/\nLanguage=de\nCache=/c/\nPreserve=/p/\n"
                     "Backup=/b/\nShowFilter=true\nLocalRepo=false\n"));
    const Settings settings;
    QCOMPARE(settings.current(Settings::INSTALLATION), QStringLiteral("/opt/X-Plane/"));
    QCOMPARE(settings.current(Settings::LANGUAGE), QStringLiteral("de"));
    QCOMPARE(settings.current(Settings::CACHE), QStringLiteral("/c/"));
    QCOMPARE(settings.current(Settings::PRESERVE), QStringLiteral("/p/"));
    QCOMPARE(settings.current(Settings::BACKUP), QStringLiteral("/b/"));
    QCOMPARE(settings.current(Settings::SHOW_FILTER), QStringLiteral("true"));
    QCOMPARE(settings.current(Settings::LOCAL_REPO), QStringLiteral("false"));
    QCOMPARE(settings.pending(Settings::INSTALLATION), QStringLiteral("/opt/X-Plane/"));
    QCOMPARE(settings.pending(Settings::LOCAL_REPO), QStringLiteral("false"));
}

// Fixed, see docs/compatibility.md.
void SettingsTest::emptyValueIsLikeAMissingKey()
{
    QVERIFY(writeIni("Language=\nCache=/c/\n"));
    const Settings settings;
    QVERIFY(settings.current(Settings::LANGUAGE).isEmpty());
    QVERIFY(settings.current(Settings::BACKUP).isEmpty());
    QCOMPARE(settings.current(Settings::CACHE), QStringLiteral("/c/"));
}

void SettingsTest::editsStayPendingUntilApplied()
{
    Settings settings;
    settings.setPending(Settings::LANGUAGE, QStringLiteral("de"));
    settings.pendingConfiguration()[Settings::CACHE].value = QStringLiteral("/c/");
    QCOMPARE(settings.pending(Settings::LANGUAGE), QStringLiteral("de"));
    QCOMPARE(settings.current(Settings::LANGUAGE), QString());
    settings.apply();
    QCOMPARE(settings.current(Settings::LANGUAGE), QStringLiteral("de"));
    QCOMPARE(settings.current(Settings::CACHE), QStringLiteral("/c/"));
}

void SettingsTest::applyWritesNothing()
{
    {
        Settings settings;
        settings.setPending(Settings::LANGUAGE, QStringLiteral("de"));
        settings.apply();
        settings.sync();
    }
    QVERIFY(!QFile::exists(m_profile->settingsFile()));
}

void SettingsTest::commitWritesAndApplies()
{
    Settings settings;
    settings.setPending(Settings::LANGUAGE, QStringLiteral("de"));
    settings.commit();
    QCOMPARE(settings.current(Settings::LANGUAGE), QStringLiteral("de"));
    settings.sync();
    QVERIFY(lines().contains(QStringLiteral("Language=de")));
    QCOMPARE(Settings().current(Settings::LANGUAGE), QStringLiteral("de"));
}

void SettingsTest::revertDropsEdits()
{
    QVERIFY(writeIni("Language=en\n"));
    {
        Settings settings;
        settings.setPending(Settings::LANGUAGE, QStringLiteral("de"));
        settings.revert();
        QCOMPARE(settings.pending(Settings::LANGUAGE), QStringLiteral("en"));
        settings.save();
    }
    QVERIFY(lines().contains(QStringLiteral("Language=en")));
    QVERIFY(!readFile(m_profile->settingsFile()).contains("de\n"));
}

void SettingsTest::saveWritesThePendingCopy()
{
    {
        Settings settings;
        settings.setPending(Settings::LANGUAGE, QStringLiteral("de"));
        settings.save();
        QCOMPARE(settings.current(Settings::LANGUAGE), QString());
    }
    QVERIFY(lines().contains(QStringLiteral("Language=de")));
}

void SettingsTest::resetEmptiesTheFile()
{
    m_profile->makeSettings()->commit();
    {
        Settings settings;
        settings.reset();
        QCOMPARE(settings.pending(Settings::LANGUAGE), QString());
        QCOMPARE(settings.current(Settings::LANGUAGE), QStringLiteral("en"));
    }
    QCOMPARE(lines(), QStringList({QStringLiteral("Backup="), QStringLiteral("Cache="),
                                   QStringLiteral("Installation="), QStringLiteral("Language="),
                                   QStringLiteral("LocalRepo="), QStringLiteral("Preserve="),
                                   QStringLiteral("ShowFilter="), QStringLiteral("[General]")}));
}

void SettingsTest::unknownKeysOfTheFileSurvive()
{
    QVERIFY(writeIni("Other=kept\n"));
    Settings().commit();
    QVERIFY(lines().contains(QStringLiteral("Other=kept")));
}

void SettingsTest::failingWritesAreIgnored()
{
    QVERIFY(QDir().mkpath(m_profile->settingsFile() + QStringLiteral("/in the way")));
    Settings settings;
    settings.setPending(Settings::LANGUAGE, QStringLiteral("de"));
    settings.commit();
    settings.sync();
    QVERIFY(settings.status() != QSettings::NoError);
    QCOMPARE(settings.current(Settings::LANGUAGE), QStringLiteral("de"));
}

void SettingsTest::textsComeBackLetterForLetter()
{
    const QString path = QString::fromUtf8("/home/J\u00f6rg; \"X\"/X,Plane = 12/\u2708/");
    {
        Settings settings;
        settings.setPending(Settings::INSTALLATION, path);
        settings.commit();
    }
    QCOMPARE(Settings().current(Settings::INSTALLATION), path);
}

void SettingsTest::filterHidesForTheExactTextOnly_data()
{
    QTest::addColumn<QString>("value");
    QTest::addColumn<bool>("shows");
    QTest::newRow("false") << QStringLiteral("false") << false;
    QTest::newRow("False") << QStringLiteral("False") << true;
    QTest::newRow("true") << QStringLiteral("true") << true;
    QTest::newRow("TRUE") << QStringLiteral("TRUE") << true;
    QTest::newRow("empty") << QString() << true;
    QTest::newRow("0") << QStringLiteral("0") << true;
}

// Fixed, see docs/compatibility.md.
void SettingsTest::filterHidesForTheExactTextOnly()
{
    QFETCH(QString, value);
    Settings settings;
    settings.setPending(Settings::SHOW_FILTER, value);
    settings.apply();
    QTEST(settings.showsFilter(), "shows");
}

void SettingsTest::repositorySwitchIgnoresLetterCase_data()
{
    QTest::addColumn<QString>("value");
    QTest::addColumn<bool>("uses");
    QTest::newRow("true") << QStringLiteral("true") << true;
    QTest::newRow("TRUE") << QStringLiteral("TRUE") << true;
    QTest::newRow("false") << QStringLiteral("false") << false;
    QTest::newRow("empty") << QString() << false;
    QTest::newRow("1") << QStringLiteral("1") << false;
}

void SettingsTest::repositorySwitchIgnoresLetterCase()
{
    QFETCH(QString, value);
    Settings settings;
    settings.setPending(Settings::LOCAL_REPO, value);
    QCOMPARE(settings.usesLocalRepository(), false);
    settings.apply();
    QTEST(settings.usesLocalRepository(), "uses");
}

// Fixed, see docs/compatibility.md.
void SettingsTest::theOnlySignalIsNeverEmitted()
{
    const QMetaObject &meta = Settings::staticMetaObject;
    QCOMPARE(meta.methodCount() - meta.methodOffset(), 1);
    QCOMPARE(meta.method(meta.methodOffset()).methodSignature(),
             QByteArray("configurationChanged()"));

    Settings settings;
    QSignalSpy changes(&settings, &Settings::configurationChanged);
    settings.setPending(Settings::LANGUAGE, QStringLiteral("de"));
    settings.apply();
    settings.commit();
    settings.revert();
    settings.reset();
    QCOMPARE(changes.count(), 0);
}

KAVO_TEST_MAIN(SettingsTest)
#include "SettingsTest.moc"
