#include "app/Environment.h"
#include "core/Paths.h"
#include "tests/support/TestMain.h"

#include <QFont>
#include <QFontDatabase>
#include <QFontInfo>
#include <QLibraryInfo>
#include <QMessageBox>

using namespace Kavo;
using namespace Kavo::Testing;

/// The translator lives as long as the process, so the order of these tests matters: English first.
class EnvironmentTest final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void executablesFolderBecomesTheCurrentOne();
    void englishLoadsNothing();
    void missingTranslationLeavesEnglish();
    void damagedTranslationLeavesEnglish();
    void translationOfTheFolderIsInstalled();
    void fontsAreLoaded();

private:
    static QString text() { return QMessageBox::tr("Invalid Folder"); }
    /// A word of Qt's own, on the buttons of boxes.
    static QString wordOfQt(const char *word)
    {
        return QCoreApplication::translate("QPlatformTheme", word);
    }

    QTemporaryDir m_folder;
};

void EnvironmentTest::initTestCase()
{
    QVERIFY(QDir(m_folder.path()).mkdir(QStringLiteral("translations")));
    const QString translation = QStringLiteral(KAVO_TEST_TRANSLATION);
    for (const char *name : {"translations/qt_de.qm", "translations/qt_en.qm"})
        QVERIFY(QFile::copy(translation, m_folder.filePath(QString::fromLatin1(name))));
}

void EnvironmentTest::executablesFolderBecomesTheCurrentOne()
{
    QGuiApplication::setQuitOnLastWindowClosed(false);
    QDir::setCurrent(m_folder.path());
    prepareEnvironment();
    QCOMPARE(QDir(QDir::currentPath()), QDir(applicationDirectory()));
    QVERIFY(QGuiApplication::quitOnLastWindowClosed());
}

void EnvironmentTest::englishLoadsNothing()
{
    QDir::setCurrent(m_folder.path());
    installTranslation(QStringLiteral("en"));
    QCOMPARE(text(), QStringLiteral("Invalid Folder"));
}

void EnvironmentTest::missingTranslationLeavesEnglish()
{
    QDir::setCurrent(m_folder.path());
    installTranslation(QStringLiteral("fr"));
    QCOMPARE(text(), QStringLiteral("Invalid Folder"));
    // Qt has French words; a window in two languages helps nobody.
    QVERIFY(QFile::exists(QLibraryInfo::location(QLibraryInfo::TranslationsPath) +
                          QStringLiteral("/qtbase_fr.qm")));
    QCOMPARE(wordOfQt("&Yes"), QStringLiteral("&Yes"));
}

void EnvironmentTest::damagedTranslationLeavesEnglish()
{
    QFile file(m_folder.filePath(QStringLiteral("translations/qt_es.qm")));
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write("no translation") > 0);
    file.close();
    QDir::setCurrent(m_folder.path());
    installTranslation(QStringLiteral("es"));
    QCOMPARE(text(), QStringLiteral("Invalid Folder"));
}

// Fixed, see docs/compatibility.md.
void EnvironmentTest::translationOfTheFolderIsInstalled()
{
    const QString german = QString::fromUtf8("Ung\u00fcltiger Ordner");
    QDir::setCurrent(m_folder.path());
    installTranslation(QStringLiteral("de"));
    QCOMPARE(text(), german);
    QCOMPARE(wordOfQt("&Yes"), QStringLiteral("&Ja"));
    // Where both have a text, ours counts.
    QCOMPARE(wordOfQt("&No"), QStringLiteral("&Nein danke"));
    // The shorter names are tried, too.
    installTranslation(QStringLiteral("de_AT"));
    QCOMPARE(text(), german);
    // Letter case counts in the name of the built-in language.
    installTranslation(QStringLiteral("EN"));
    QCOMPARE(text(), QStringLiteral("Invalid Folder"));
}

// Fixed, see docs/compatibility.md.
void EnvironmentTest::fontsAreLoaded()
{
    loadFonts();
    const QFont font = QApplication::font();
    QCOMPARE(font.family(), QStringLiteral("Proxima Nova Rg"));
    QCOMPARE(font.pointSize(), 10);
    QCOMPARE(font.weight(), int(QFont::Normal));
    QVERIFY(!font.italic());
#ifdef KAVO_TEST_HAS_FONT
    const QStringList substitutes = QFont::substitutes(font.family());
    QCOMPARE(substitutes.size(), 1);
    QVERIFY(QFontDatabase().families().contains(substitutes.first(), Qt::CaseInsensitive));
    QCOMPARE(QFontInfo(font).family().toLower(), substitutes.first().toLower());
#endif
}

KAVO_TEST_MAIN(EnvironmentTest)
#include "EnvironmentTest.moc"
