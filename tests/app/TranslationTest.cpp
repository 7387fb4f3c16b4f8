#include "app/Environment.h"
#include "components/FileSelector.h"
#include "components/IconFont.h"
#include "core/Languages.h"
#include "tests/app/TranslationEntries.h"
#include "tests/components/Widgets.h"
#include "tests/dialogs/SharedController.h"
#include "tests/packages/MakePackage.h"
#include "tests/packages/PackageStates.h"
#include "tests/support/Literals.h"
#include "tests/support/Rows.h"
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

/// A row for each language but English.
void addLanguages()
{
    Rows<QString> rows;
    for (const QString &language : Kavo::languages().mid(1))
        rows.row(language.toLatin1(), language);
}

QString currentLanguage()
{
    return std::get<0>(Rows<QString>::current());
}

QString translationFile()
{
    return QStringLiteral(KAVO_SOURCE_FOLDER "/resources/translations/qt_%1.ts")
        .arg(currentLanguage());
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

/// The entries of a copy of the translation file that lupdate has updated from the source code.
QVector<TranslationEntry> textsOfTheSource(const QString &copy)
{
    if (!QFile::copy(translationFile(), copy))
        return {};
    QStringList arguments{"-silent"_s, "-locations"_s, "none"_s};
    // A new text must not get the translation of another.
    for (const char *guess : {"sametext", "similartext", "number"})
        arguments << "-disable-heuristic"_s << QLatin1String(guess);
    // Without the headers the texts would have no namespaces.
    arguments << "-I"_s
              << "."_s;
    for (const char *folder :
         {"app", "core", "downloads", "packages", "components", "dialogs", "ui"})
        arguments << QLatin1String(folder);
    arguments << "-ts"_s << copy;

    QProcess process;
    process.setWorkingDirectory(QStringLiteral(KAVO_SOURCE_FOLDER));
    process.start(QStringLiteral(KAVO_LUPDATE), arguments);
    if (!process.waitForFinished() || process.exitCode() != 0)
        return {};
    return readTranslations(copy);
}

} // namespace

/// Checks that the texts in each language are complete, are loaded and fit into the window.
class TranslationTest final : public QObject
{
    Q_OBJECT

private slots:
    void lossIsFound_data()
    {
        Rows<QString, QString, bool>()
            .row("Back", "Back", "Zurück", false)
            .row("%1 of %2", "%1 of %2", "%2, davon %1", false)
            .row("%1 of %2 ", "%1 of %2 ", "%1 von ", true)
            .row("%n file", "%n file", "Datei", true)
            .row("%L1", "%L1", "%1", true)
            .row("A : ", "A : ", "B: ", false)
            .row("A :", "A :", "B", true)
            .row("A: ", "A: ", "B ", true)
            .row("\nMore?", "\nMore?", "\nMehr?", false)
            .row("\nMore", "\nMore", "Mehr", true)
            .row("Lead\n\n", "Lead\n\n", "Anfang:\n\n", false)
            .row("Lead\n\n\n", "Lead\n\n\n", "Anfang\n\n", true)
            .row("End ", "End ", "Ende", true)
            .row(" End", " End", "Ende", true);
    }

    void lossIsFound()
    {
        const auto [source, translation, lost] = Rows<QString, QString, bool>::current();
        QCOMPARE(!lossOf(source, translation).isEmpty(), lost);
    }

    void statesAndFormsAreRead()
    {
        const QTemporaryDir folder;
        const QString path = folder.filePath("some.ts"_s);
        QVERIFY(writeFile(
            path, "<TS><context><name>A::B</name>"
                  "<message><location line=\"1\"/><source>one&apos;s\n</source><comment>c</comment>"
                  "<translation type=\"unfinished\"></translation></message></context>"
                  "<context><name>C</name><message numerus=\"yes\"><source>%n</source><translation>"
                  "\n    <numerusform>ein</numerusform>\n    <numerusform>zwei</numerusform>\n"
                  "</translation></message></context></TS>"));
        const auto entries = readTranslations(path);
        QCOMPARE(entries.size(), 2);
        QCOMPARE(entries.first().key(), "A::B: \"one's\n\" c"_s);
        QCOMPARE(entries.first().state, "unfinished"_s);
        QCOMPARE(entries.first().translations, QStringList(QString()));
        QCOMPARE(entries.last().context, "C"_s);
        QVERIFY(entries.last().state.isEmpty());
        QCOMPARE(entries.last().translations, QStringList({"ein"_s, "zwei"_s}));
    }

    void everyTextIsTranslated_data() { addLanguages(); }
    void everyTextIsTranslated()
    {
        const QTemporaryDir folder;
        const auto entries = readTranslations(translationFile());
        const auto current = textsOfTheSource(folder.filePath("copy.ts"_s));
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

    void translationsKeepTheirFormat_data() { addLanguages(); }
    void translationsKeepTheirFormat()
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

    void namesAreNotTranslated_data() { addLanguages(); }
    /// The names decide where settings and data are stored. The code of the language decides how
    /// numbers are written.
    void namesAreNotTranslated()
    {
        const QMap<QString, QString> fixed{{"Quarnell"_s, "Quarnell"_s},
                                           {"Kavo Suite"_s, "Kavo Suite"_s},
                                           {"en"_s, currentLanguage()}};
        QSet<QString> seen;
        for (const TranslationEntry &entry : readTranslations(translationFile())) {
            if (!fixed.contains(entry.source))
                continue;
            QCOMPARE(entry.translations, QStringList(fixed.value(entry.source)));
            seen.insert(entry.source);
        }
        QCOMPARE(seen.size(), fixed.size());
    }

    void compiledTranslationHasEveryText_data() { addLanguages(); }
    void compiledTranslationHasEveryText()
    {
        QTranslator translator;
        QVERIFY(
            translator.load("qt_"_s + currentLanguage(), QStringLiteral(KAVO_TRANSLATION_FOLDER)));
        const auto entries = readTranslations(translationFile());
        QVERIFY(!entries.isEmpty());
        const auto translate = [&](const char *context, const char *source, const char *comment) {
            return translator.translate(context, source, comment);
        };
        QCOMPARE(differentlyTranslated(entries, translate), QStringList());
    }

    /// Installs the translation as the program does. The next tests use it as well.
    void programSpeaksGerman()
    {
        QVERIFY(QDir::setCurrent(QStringLiteral(KAVO_TRANSLATION_FOLDER "/..")));
        Kavo::installTranslation("de"_s);
        QCOMPARE(StateLook::of(Package::DEPENDENCY_ERROR, false).text, "Abhängigkeitsfehler"_s);
        QCOMPARE(QMessageBox::tr("Invalid Folder"), "Ungültiger Ordner"_s);
        const Kavo::Components::FileSelector selector(0);
        QCOMPARE(selector.findChild<QPushButton *>()->text(), "Durchsuchen"_s);
    }

    /// The texts of these buttons are from Qt.
    void boxesSpeakGerman()
    {
        const QMessageBox box(QMessageBox::Question, QString(), QString(),
                              QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel);
        QCOMPARE(box.button(QMessageBox::Yes)->text(), "&Ja"_s);
        QCOMPARE(box.button(QMessageBox::No)->text(), "&Nein"_s);
        QCOMPARE(box.button(QMessageBox::Cancel)->text(), "Abbrechen"_s);
    }

    void textsOfTheCardFit_data()
    {
        Rows<QString, Package::State, bool> rows;
        for (const QString &language : Kavo::languages().mid(1)) {
            const QByteArray prefix = language.toLatin1();
            for (const Package::State state : packageStates()) {
                if (state != Package::UNKNOWN)
                    rows.row(prefix + ", state " + QByteArray::number(state), language, state,
                             false);
            }
            rows.row(prefix + ", update", language, Package::INSTALLED, true);
        }
    }
    /// Uses the program's font and style. A longer text would be cut off on the button.
    void textsOfTheCardFit()
    {
        KAVO_NEEDS_TEXT_FONT();
        const auto [language, state, update] = Rows<QString, Package::State, bool>::current();
        QVERIFY(QDir::setCurrent(QStringLiteral(KAVO_TRANSLATION_FOLDER "/..")));
        Kavo::installTranslation(language);
        // Each translation contains the code of its language.
        QCOMPARE(QCoreApplication::translate("Kavo::Ui::ProgressText", "en",
                                             "code of the language that these texts are in"),
                 language);
        const QString text = StateLook::of(state, update).text;
        Kavo::loadFonts();
        Kavo::Components::iconFont()->initFontAwesome();
        qApp->setStyleSheet(QString::fromUtf8(readFile(":/resources/style.qss"_s)));

        Engine engine;
        engine.start();
        const auto package = makePackage(1, {makeVersion("2.0"_s)});
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
        // All buttons of the list have the same width.
        action->setText(QString());
        QCOMPARE(width, action->sizeHint().width());
    }
};

KAVO_TEST_MAIN(TranslationTest)
#include "TranslationTest.moc"
