#include "core/Settings.h"
#include "tests/support/Files.h"
#include "tests/support/Literals.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"

using namespace Kavo;
using namespace Kavo::Testing;

class SettingsTest final : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_profile.reset(new ScratchProfile); }
    void cleanup() { m_profile.reset(); }

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
    /// The lines of the settings file that are not empty, sorted.
    QStringList lines() const;
    bool writeIni(const QByteArray &entries) const;

    QScopedPointer<ScratchProfile> m_profile;
};

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
    QCOMPARE(settings.fileName(), m_profile->home() + "/.config/Quarnell/Kavo Suite.ini"_s);
    QCOMPARE(settings.format(), QSettings::IniFormat);
    QCOMPARE(settings.scope(), QSettings::UserScope);
}

// Fixed, see docs/compatibility.md.
void SettingsTest::keysComeInTheirOrder()
{
    Settings settings;
    const QStringList keys{"Installation"_s, "Language"_s,   "Cache"_s,    "Preserve"_s,
                           "Backup"_s,       "ShowFilter"_s, "LocalRepo"_s};
    for (const auto &configuration :
         {settings.currentConfiguration(), settings.pendingConfiguration()}) {
        QStringList found;
        for (const Settings::Entry &entry : configuration)
            found.append(entry.key);
        QCOMPARE(found, keys);
    }
    QCOMPARE(settings.currentConfiguration()[Settings::LOCAL_REPO].key, "LocalRepo"_s);
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
    QCOMPARE(settings.current(Settings::INSTALLATION), "/opt/X-Plane/"_s);
    QCOMPARE(settings.current(Settings::LANGUAGE), "de"_s);
    QCOMPARE(settings.current(Settings::CACHE), "/c/"_s);
    QCOMPARE(settings.current(Settings::PRESERVE), "/p/"_s);
    QCOMPARE(settings.current(Settings::BACKUP), "/b/"_s);
    QCOMPARE(settings.current(Settings::SHOW_FILTER), "true"_s);
    QCOMPARE(settings.current(Settings::LOCAL_REPO), "false"_s);
    QCOMPARE(settings.pending(Settings::INSTALLATION), "/opt/X-Plane/"_s);
    QCOMPARE(settings.pending(Settings::LOCAL_REPO), "false"_s);
}

// Fixed, see docs/compatibility.md.
void SettingsTest::emptyValueIsLikeAMissingKey()
{
    QVERIFY(writeIni("Language=\nCache=/c/\n"));
    const Settings settings;
    QVERIFY(settings.current(Settings::LANGUAGE).isEmpty());
    QVERIFY(settings.current(Settings::BACKUP).isEmpty());
    QCOMPARE(settings.current(Settings::CACHE), "/c/"_s);
}

void SettingsTest::editsStayPendingUntilApplied()
{
    Settings settings;
    settings.setPending(Settings::LANGUAGE, "de"_s);
    settings.pendingConfiguration()[Settings::CACHE].value = "/c/"_s;
    QCOMPARE(settings.pending(Settings::LANGUAGE), "de"_s);
    QCOMPARE(settings.current(Settings::LANGUAGE), QString());
    settings.apply();
    QCOMPARE(settings.current(Settings::LANGUAGE), "de"_s);
    QCOMPARE(settings.current(Settings::CACHE), "/c/"_s);
}

void SettingsTest::applyWritesNothing()
{
    {
        Settings settings;
        settings.setPending(Settings::LANGUAGE, "de"_s);
        settings.apply();
        settings.sync();
    }
    QVERIFY(!QFile::exists(m_profile->settingsFile()));
}

void SettingsTest::commitWritesAndApplies()
{
    Settings settings;
    settings.setPending(Settings::LANGUAGE, "de"_s);
    settings.commit();
    QCOMPARE(settings.current(Settings::LANGUAGE), "de"_s);
    settings.sync();
    QVERIFY(lines().contains("Language=de"_s));
    QCOMPARE(Settings().current(Settings::LANGUAGE), "de"_s);
}

void SettingsTest::revertDropsEdits()
{
    QVERIFY(writeIni("Language=en\n"));
    {
        Settings settings;
        settings.setPending(Settings::LANGUAGE, "de"_s);
        settings.revert();
        QCOMPARE(settings.pending(Settings::LANGUAGE), "en"_s);
        settings.save();
    }
    QVERIFY(lines().contains("Language=en"_s));
    QVERIFY(!readFile(m_profile->settingsFile()).contains("de\n"));
}

void SettingsTest::saveWritesThePendingCopy()
{
    {
        Settings settings;
        settings.setPending(Settings::LANGUAGE, "de"_s);
        settings.save();
        QCOMPARE(settings.current(Settings::LANGUAGE), QString());
    }
    QVERIFY(lines().contains("Language=de"_s));
}

void SettingsTest::resetEmptiesTheFile()
{
    m_profile->makeSettings()->commit();
    {
        Settings settings;
        settings.reset();
        QCOMPARE(settings.pending(Settings::LANGUAGE), QString());
        QCOMPARE(settings.current(Settings::LANGUAGE), "en"_s);
    }
    QCOMPARE(lines(), QStringList({"Backup="_s, "Cache="_s, "Installation="_s, "Language="_s,
                                   "LocalRepo="_s, "Preserve="_s, "ShowFilter="_s, "[General]"_s}));
}

void SettingsTest::unknownKeysOfTheFileSurvive()
{
    QVERIFY(writeIni("Other=kept\n"));
    Settings().commit();
    QVERIFY(lines().contains("Other=kept"_s));
}

void SettingsTest::failingWritesAreIgnored()
{
    QVERIFY(QDir().mkpath(m_profile->settingsFile() + "/in the way"_s));
    Settings settings;
    settings.setPending(Settings::LANGUAGE, "de"_s);
    settings.commit();
    settings.sync();
    QVERIFY(settings.status() != QSettings::NoError);
    QCOMPARE(settings.current(Settings::LANGUAGE), "de"_s);
}

void SettingsTest::textsComeBackLetterForLetter()
{
    const QString path = "/home/J\u00f6rg; \"X\"/X,Plane = 12/\u2708/"_s;
    {
        Settings settings;
        settings.setPending(Settings::INSTALLATION, path);
        settings.commit();
    }
    QCOMPARE(Settings().current(Settings::INSTALLATION), path);
}

void SettingsTest::filterHidesForTheExactTextOnly_data()
{
    Rows<QString, bool>()
        .row("false", "false", false)
        .row("False", "False", true)
        .row("true", "true", true)
        .row("TRUE", "TRUE", true)
        .row("empty", "", true)
        .row("0", "0", true);
}

// Fixed, see docs/compatibility.md.
void SettingsTest::filterHidesForTheExactTextOnly()
{
    const auto [value, shows] = Rows<QString, bool>::current();
    Settings settings;
    settings.setPending(Settings::SHOW_FILTER, value);
    settings.apply();
    QCOMPARE(settings.showsFilter(), shows);
}

void SettingsTest::repositorySwitchIgnoresLetterCase_data()
{
    Rows<QString, bool>()
        .row("true", "true", true)
        .row("TRUE", "TRUE", true)
        .row("false", "false", false)
        .row("empty", "", false)
        .row("1", "1", false);
}

void SettingsTest::repositorySwitchIgnoresLetterCase()
{
    const auto [value, uses] = Rows<QString, bool>::current();
    Settings settings;
    settings.setPending(Settings::LOCAL_REPO, value);
    QCOMPARE(settings.usesLocalRepository(), false);
    settings.apply();
    QCOMPARE(settings.usesLocalRepository(), uses);
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
    settings.setPending(Settings::LANGUAGE, "de"_s);
    settings.apply();
    settings.commit();
    settings.revert();
    settings.reset();
    QCOMPARE(changes.count(), 0);
}

KAVO_TEST_MAIN(SettingsTest)
#include "SettingsTest.moc"
