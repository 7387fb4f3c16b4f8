#include "app/Environment.h"
#include "components/FileSelector.h"
#include "components/IconFont.h"
#include "tests/app/TranslationEntries.h"
#include "tests/dialogs/SharedController.h"
#include "tests/packages/MakePackage.h"
#include "tests/support/TestMain.h"
#include "ui/list/PackageWidget.h"
#include "ui/package/StateLook.h"

#include <QMessageBox>
#include <QProcess>
#include <QPushButton>
#include <QSet>
#include <QTranslator>

using namespace Kavo::Testing;
using Kavo::Models::Package;
using Kavo::Ui::StateLook;

namespace {

QString translationFile()
{
    return QStringLiteral(KAVO_SOURCE_FOLDER "/resources/translations/qt_de.ts");
}

QSet<QString> keysOf(const QVector<TranslationEntry> &entries)
{
    QSet<QString> keys;
    for (const TranslationEntry &entry : entries)
        keys.insert(entry.key());
    return keys;
}

QString sorted(const QSet<QString> &keys)
{
    QStringList list = keys.values();
    list.sort();
    return list.join(QLatin1Char('\n'));
}

/// The texts of the source code, as lupdate brings them into a copy of the translation file.
QVector<TranslationEntry> textsOfTheSource(const QString &copy)
{
    if (!QFile::copy(translationFile(), copy))
        return {};
    QStringList arguments{QStringLiteral("-silent"), QStringLiteral("-locations"),
                          QStringLiteral("none")};
    // What is new must not take over the translation of something else.
    for (const char *guess : {"sametext", "similartext", "number"})
        arguments << QStringLiteral("-disable-heuristic") << QLatin1String(guess);
    // Without the headers the texts would come without their namespaces.
    arguments << QStringLiteral("-I") << QStringLiteral(".");
    for (const char *folder :
         {"app", "core", "downloads", "packages", "components", "dialogs", "ui"})
        arguments << QLatin1String(folder);
    arguments << QStringLiteral("-ts") << copy;

    QProcess process;
    process.setWorkingDirectory(QStringLiteral(KAVO_SOURCE_FOLDER));
    process.start(QStringLiteral(KAVO_LUPDATE), arguments);
    if (!process.waitForFinished() || process.exitCode() != 0)
        return {};
    return readTranslations(copy);
}

} // namespace

/// Holds the German texts to the program: complete, nothing lost, loaded and fitting.
class TranslationTest final : public QObject
{
    Q_OBJECT

private slots:
    void lossIsSeen_data();
    void lossIsSeen();
    void statesAndFormsAreRead();
    void everyTextIsTranslated();
    void nothingIsLost();
    void namesStay();
    void compiledTranslationHasEveryText();
    void programSpeaksGerman();
    void boxesSpeakGerman();
    void textsOfTheCardFit_data();
    void textsOfTheCardFit();
};

void TranslationTest::lossIsSeen_data()
{
    QTest::addColumn<QString>("source");
    QTest::addColumn<QString>("translation");
    QTest::addColumn<bool>("lost");

    const auto row = [](const char *source, const char *translation, bool lost) {
        QTest::newRow(source) << QString::fromUtf8(source) << QString::fromUtf8(translation)
                              << lost;
    };
    row("Back", "Zurück", false);
    row("%1 of %2", "%2, davon %1", false);
    row("%1 of %2 ", "%1 von ", true);
    row("%n file", "Datei", true);
    row("%L1", "%1", true);
    row("A : ", "B: ", false);
    row("A :", "B", true);
    row("A: ", "B ", true);
    row("\nMore?", "\nMehr?", false);
    row("\nMore", "Mehr", true);
    row("Lead\n\n", "Anfang:\n\n", false);
    row("Lead\n\n\n", "Anfang\n\n", true);
    row("End ", "Ende", true);
    row(" End", "Ende", true);
}

void TranslationTest::lossIsSeen()
{
    QFETCH(QString, source);
    QFETCH(QString, translation);
    QFETCH(bool, lost);
    QCOMPARE(!lossOf(source, translation).isEmpty(), lost);
}

void TranslationTest::statesAndFormsAreRead()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("some.ts"));
    QVERIFY(writeFile(
        path, "<TS><context><name>A::B</name>"
              "<message><location line=\"1\"/><source>one&apos;s\n</source><comment>c</comment>"
              "<translation type=\"unfinished\"></translation></message></context>"
              "<context><name>C</name><message numerus=\"yes\"><source>%n</source><translation>"
              "\n    <numerusform>ein</numerusform>\n    <numerusform>zwei</numerusform>\n"
              "</translation></message></context></TS>"));
    const auto entries = readTranslations(path);
    QCOMPARE(entries.size(), 2);
    QCOMPARE(entries.first().key(), QStringLiteral("A::B: \"one's\n\" c"));
    QCOMPARE(entries.first().state, QStringLiteral("unfinished"));
    QCOMPARE(entries.first().translations, QStringList(QString()));
    QCOMPARE(entries.last().context, QStringLiteral("C"));
    QVERIFY(entries.last().state.isEmpty());
    QCOMPARE(entries.last().translations,
             QStringList({QStringLiteral("ein"), QStringLiteral("zwei")}));
}

void TranslationTest::everyTextIsTranslated()
{
    const QTemporaryDir folder;
    const auto entries = readTranslations(translationFile());
    const auto current = textsOfTheSource(folder.filePath(QStringLiteral("qt_de.ts")));
    QVERIFY(current.size() > 100);
    for (const auto &list : {entries, current}) {
        for (const TranslationEntry &entry : list) {
            QVERIFY2(entry.state.isEmpty(), qPrintable(entry.key() + entry.state));
            for (const QString &text : entry.translations)
                QVERIFY2(!text.trimmed().isEmpty(), qPrintable(entry.key()));
        }
    }
    QCOMPARE(sorted(keysOf(current)), sorted(keysOf(entries)));
    QCOMPARE(keysOf(entries).size(), entries.size());
}

void TranslationTest::nothingIsLost()
{
    const auto entries = readTranslations(translationFile());
    QVERIFY(!entries.isEmpty());
    for (const TranslationEntry &entry : entries) {
        for (const QString &text : entry.translations) {
            const QString loss = lossOf(entry.source, text);
            QVERIFY2(loss.isEmpty(), qPrintable(entry.key() + QLatin1String("lost ") + loss));
        }
    }
}

/// They decide where settings and data lie: another language must find the same folders.
void TranslationTest::namesStay()
{
    int seen = 0;
    const auto entries = readTranslations(translationFile());
    for (const TranslationEntry &entry : entries) {
        if (entry.source != QLatin1String("Quarnell") &&
            entry.source != QLatin1String("Kavo Suite"))
            continue;
        QCOMPARE(entry.translations, QStringList(entry.source));
        ++seen;
    }
    QVERIFY(seen >= 2);
}

void TranslationTest::compiledTranslationHasEveryText()
{
    QTranslator translator;
    QVERIFY(translator.load(QStringLiteral("qt_de"), QStringLiteral(KAVO_TRANSLATION_FOLDER)));
    const auto entries = readTranslations(translationFile());
    QVERIFY(!entries.isEmpty());
    const auto translate = [&](const char *context, const char *source, const char *comment) {
        return translator.translate(context, source, comment);
    };
    QCOMPARE(differentlyTranslated(entries, translate), QStringList());
}

/// The program's own way to its translation. It stays for the tests that follow.
void TranslationTest::programSpeaksGerman()
{
    QVERIFY(QDir::setCurrent(QStringLiteral(KAVO_TRANSLATION_FOLDER "/..")));
    Kavo::installTranslation(QStringLiteral("de"));
    QCOMPARE(StateLook::of(Package::DEPENDENCY_ERROR, false).text,
             QStringLiteral("Abhängigkeitsfehler"));
    QCOMPARE(QMessageBox::tr("Invalid Folder"), QStringLiteral("Ungültiger Ordner"));
    const Kavo::Components::FileSelector selector(0);
    QCOMPARE(selector.findChild<QPushButton *>()->text(), QStringLiteral("Durchsuchen"));
}

/// The words on these buttons are Qt's.
void TranslationTest::boxesSpeakGerman()
{
    const QMessageBox box(QMessageBox::Question, QString(), QString(),
                          QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel);
    QCOMPARE(box.button(QMessageBox::Yes)->text(), QStringLiteral("&Ja"));
    QCOMPARE(box.button(QMessageBox::No)->text(), QStringLiteral("&Nein"));
    QCOMPARE(box.button(QMessageBox::Cancel)->text(), QStringLiteral("Abbrechen"));
}

void TranslationTest::textsOfTheCardFit_data()
{
    QTest::addColumn<Package::State>("state");
    QTest::addColumn<bool>("update");
    QTest::addColumn<QString>("text");

    const auto row = [](const char *text, Package::State state, bool update = false) {
        QTest::newRow(text) << state << update << QString::fromUtf8(text);
    };
    row("Herunterladen", Package::AVAILABLE);
    row("Installiert", Package::INSTALLED);
    row("Aktualisieren", Package::INSTALLED, true);
    row("Wird vorbereitet", Package::PREPARING);
    row("Wird geladen", Package::DOWNLOADING);
    row("Wird installiert", Package::INSTALLING);
    row("Wird deinstalliert", Package::UNINSTALLING);
    row("Installationsfehler", Package::INSTALL_ERROR);
    row("Download-Fehler", Package::DOWNLOAD_ERROR);
    row("Abhängigkeitsfehler", Package::DEPENDENCY_ERROR);
}

/// With the program's font and style: a longer word would be cut off on the button.
void TranslationTest::textsOfTheCardFit()
{
    QFETCH(Package::State, state);
    QFETCH(bool, update);
    QFETCH(QString, text);
    Kavo::loadFonts();
    Kavo::Components::iconFont()->initFontAwesome();
    qApp->setStyleSheet(QString::fromUtf8(readFile(QStringLiteral(":/resources/style.qss"))));

    Engine engine;
    engine.start();
    const auto package = makePackage(1, {makeVersion(QStringLiteral("2.0"))});
    package->setState(state);
    package->setUpdateAvailable(update);
    Kavo::Ui::PackageWidget card(sharedController(engine), package);
    card.ensurePolished();
    QPushButton *action = nullptr;
    const auto buttons = card.findChildren<QPushButton *>();
    for (QPushButton *button : buttons) {
        if (button->text() == text)
            action = button;
    }
    QVERIFY(action);
    action->ensurePolished();
    const int width = action->sizeHint().width();
    QVERIFY(width > action->fontMetrics().horizontalAdvance(text));
    QVERIFY(width <= action->maximumWidth());
    // The style gives all buttons of the list one width, which no text may widen.
    action->setText(QString());
    QCOMPARE(width, action->sizeHint().width());
}

KAVO_TEST_MAIN(TranslationTest)
#include "TranslationTest.moc"
