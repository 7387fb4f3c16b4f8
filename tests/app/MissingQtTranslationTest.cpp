#include "app/Environment.h"
#include "tests/app/TranslationEntries.h"
#include "tests/support/Literals.h"
#include "tests/support/TestMain.h"

#include <QLibraryInfo>
#include <QMessageBox>
#include <QPushButton>

using namespace Kavo::Testing;

/// Tests the program's translation on a machine without Qt's own German texts. A qt.conf in the
/// resources of this executable lets Qt look for its translations in a folder that does not exist.
class MissingQtTranslationTest final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(!QFile::exists(QLibraryInfo::location(QLibraryInfo::TranslationsPath)));
        QVERIFY(QDir::setCurrent(QStringLiteral(KAVO_TRANSLATION_FOLDER "/..")));
        Kavo::installTranslation("de"_s);
    }

    void everyTextOfTheProgramIsGerman()
    {
        const auto entries =
            readTranslations(QStringLiteral(KAVO_SOURCE_FOLDER "/resources/translations/qt_de.ts"));
        QVERIFY(!entries.isEmpty());
        const auto translate = [](const char *context, const char *source, const char *comment) {
            return QCoreApplication::translate(context, source, comment);
        };
        QCOMPARE(differentlyTranslated(entries, translate), QStringList());
    }

    void boxesKeepTheirEnglishButtons()
    {
        const QMessageBox box(QMessageBox::Question, QString(), QString(),
                              QMessageBox::Yes | QMessageBox::No);
        QCOMPARE(box.button(QMessageBox::Yes)->text(), "&Yes"_s);
        QCOMPARE(box.button(QMessageBox::No)->text(), "&No"_s);
    }
};

KAVO_TEST_MAIN(MissingQtTranslationTest)
#include "MissingQtTranslationTest.moc"
