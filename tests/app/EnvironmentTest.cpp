#include "app/Environment.h"
#include "core/Paths.h"
#include "tests/support/Literals.h"
#include "tests/support/TestMain.h"

#include <QFont>
#include <QFontDatabase>
#include <QFontInfo>
#include <QLibraryInfo>
#include <QMessageBox>

using namespace Kavo;
using namespace Kavo::Testing;

/// An installed translation remains until the end of the process, so the tests with English texts
/// come first.
class EnvironmentTest final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(QDir(m_folder.path()).mkdir("translations"_s));
        const QString translation = QStringLiteral(KAVO_TEST_TRANSLATION);
        for (const char *name : {"translations/qt_de.qm", "translations/qt_en.qm"})
            QVERIFY(QFile::copy(translation, m_folder.filePath(QString::fromLatin1(name))));
    }

    void executablesFolderBecomesTheCurrentOne()
    {
        QGuiApplication::setQuitOnLastWindowClosed(false);
        QDir::setCurrent(m_folder.path());
        prepareEnvironment();
        QCOMPARE(QDir(QDir::currentPath()), QDir(applicationDirectory()));
        QVERIFY(QGuiApplication::quitOnLastWindowClosed());
    }

    void englishLoadsNothing()
    {
        QDir::setCurrent(m_folder.path());
        installTranslation("en"_s);
        QCOMPARE(text(), "Invalid Folder"_s);
    }

    void missingTranslationLeavesEnglish()
    {
        QDir::setCurrent(m_folder.path());
        installTranslation("xx"_s);
        QCOMPARE(text(), "Invalid Folder"_s);
        // Qt has French texts, but they are not loaded: a window must not mix two languages.
        QVERIFY(QFile::exists(QLibraryInfo::location(QLibraryInfo::TranslationsPath) +
                              "/qtbase_fr.qm"_s));
        QCOMPARE(wordOfQt("&Yes"), "&Yes"_s);
    }

    void damagedTranslationLeavesEnglish()
    {
        QFile file(m_folder.filePath("translations/qt_es.qm"_s));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write("no translation") > 0);
        file.close();
        QDir::setCurrent(m_folder.path());
        installTranslation("es"_s);
        QCOMPARE(text(), "Invalid Folder"_s);
    }

    // Fixed, see docs/compatibility.md.
    void translationOfTheFolderIsInstalled()
    {
        const QString german = QString::fromUtf8("Ung\u00fcltiger Ordner");
        QDir::setCurrent(m_folder.path());
        installTranslation("de"_s);
        QCOMPARE(text(), german);
        QCOMPARE(wordOfQt("&Yes"), "&Ja"_s);
        // The program's translation has priority over Qt's.
        QCOMPARE(wordOfQt("&No"), "&Nein danke"_s);
        // "de" is tried if there is no translation for "de_AT".
        installTranslation("de_AT"_s);
        QCOMPARE(text(), german);
        // Only "en" in lower case is the built-in language. "EN" has no file, and the failed
        // attempt to load it unloads the previous translation.
        installTranslation("EN"_s);
        QCOMPARE(text(), "Invalid Folder"_s);
    }

    // Fixed, see docs/compatibility.md.
    void fontsAreLoaded()
    {
        loadFonts();
        const QFont font = QApplication::font();
        QCOMPARE(font.family(), "Proxima Nova Rg"_s);
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

private:
    static QString text()
    {
        return QMessageBox::tr("Invalid Folder");
    }
    /// A text from Qt, which is on the buttons of message boxes.
    static QString wordOfQt(const char *word)
    {
        return QCoreApplication::translate("QPlatformTheme", word);
    }

    QTemporaryDir m_folder;
};

KAVO_TEST_MAIN(EnvironmentTest)
#include "EnvironmentTest.moc"
