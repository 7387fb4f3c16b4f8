#include "core/Languages.h"
#include "tests/support/Files.h"
#include "tests/support/Literals.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"

#include <QDirIterator>
#include <QImage>
#include <QProcess>
#include <QTranslator>
#include <QXmlStreamReader>

#include <array>

#include <sys/stat.h>
#include <unistd.h>

using namespace Kavo::Testing;

namespace {

const QString DesktopId = QStringLiteral(KAVO_DESKTOP_ID);
const QString Version = QStringLiteral(KAVO_VERSION);

QString packagingText(const QString &name)
{
    return QString::fromUtf8(readFile(QStringLiteral(KAVO_PACKAGING_FOLDER "/") + name));
}

/// The text of a manual page, as the build generates it.
QString manual(const QString &name)
{
    return QString::fromUtf8(readFile(QStringLiteral(KAVO_BUILD_FOLDER "/packaging/") + name));
}

/// The value of a key of the desktop entry.
QString entryValue(const QString &key)
{
    const QStringList lines = packagingText(DesktopId + ".desktop"_s).split(QLatin1Char('\n'));
    for (const QString &line : lines) {
        if (line.startsWith(key + QLatin1Char('=')))
            return line.mid(key.size() + 1);
    }
    return {};
}

/// One element of the metainfo: its attributes, and its text under the empty name.
using Element = QMap<QString, QString>;

QVector<Element> metainfo(const QString &name)
{
    QVector<Element> found;
    QXmlStreamReader reader(packagingText(DesktopId + ".metainfo.xml"_s));
    while (!reader.atEnd()) {
        if (reader.readNext() != QXmlStreamReader::StartElement || reader.name() != name)
            continue;
        Element element;
        for (const auto &attribute : reader.attributes())
            element.insert(attribute.name().toString(), attribute.value().toString());
        element.insert(QString(), reader.readElementText(QXmlStreamReader::IncludeChildElements));
        found.append(element);
    }
    return reader.hasError() ? QVector<Element>() : found;
}

/// The standard output of a command; empty if the command fails.
QString outputOf(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    const bool isDone = process.waitForFinished() && process.exitCode() == 0;
    return isDone ? QString::fromUtf8(process.readAllStandardOutput()) : QString();
}

QString firstMatch(const QString &text, const QString &pattern)
{
    return QRegularExpression(pattern, QRegularExpression::MultilineOption).match(text).captured(1);
}

QStringList allMatches(const QString &text, const QString &pattern)
{
    QStringList found;
    auto matches =
        QRegularExpression(pattern, QRegularExpression::MultilineOption).globalMatch(text);
    while (matches.hasNext())
        found.append(matches.next().captured(1));
    return found;
}

/// The value of a field of a package, which CPack names after its component.
QString packageField(const char *component, const char *field)
{
    const QString configuration =
        QString::fromUtf8(readFile(QStringLiteral(KAVO_BUILD_FOLDER "/CPackConfig.cmake")));
    return firstMatch(configuration, "^set\\(CPACK_DEBIAN_%1_PACKAGE_%2 \"([^\"]*)\"\\)"_s.arg(
                                         QLatin1String(component), QLatin1String(field)));
}

} // namespace

/// Installs the program into a scratch root, as a packager would, and checks the installed files.
class PackagingTest final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void installationContainsExactlyTheseFiles();
    void fullPackageAddsWhatDebianAsksFor();
    void catalogueToolHasAPackageOfItsOwn();
    void fullPackageReplacesTheSmallOne();
    void permissionsDoNotDependOnTheBuilder();
    void commandIsARelativeLinkToTheProgram();
    void translationIsBesideTheProgram();
    void packageDependsOnWhatTheProgramLoads();
    void iconsHaveTheSizeOfTheirFolder();
    void compressedTextsAreWhole_data();
    void compressedTextsAreWhole();
    void manualHasEveryCommandAndOption();
    void desktopEntryNamesWhatIsInstalled();
    void metainfoBelongsToTheDesktopEntry();
    void screenshotsAreThoseOfTheReadme();
    void versionIsTheSameEverywhere();

private:
    static void install(const QString &root, const QStringList &options);
    QString installed(const QString &path) const { return m_root.filePath(path); }
    QString tool() const { return installed("usr/bin/kavo-catalogue"_s); }
    /// The installed paths that match the filters, relative to the root.
    QStringList find(QDir::Filters filters) const { return find(m_root.path(), filters); }
    static QStringList find(const QString &root, QDir::Filters filters);

    QTemporaryDir m_root;
    /// The content of the package kavo-suite.
    QTemporaryDir m_suite;
};

void PackagingTest::initTestCase()
{
    QVERIFY(m_root.isValid() && m_suite.isValid());
    install(m_root.path(), {});
    install(m_suite.path(), {"--component"_s, "suite"_s});
}

void PackagingTest::install(const QString &root, const QStringList &options)
{
    QProcess process;
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert("DESTDIR"_s, root);
    process.setProcessEnvironment(environment);
    process.setProcessChannelMode(QProcess::MergedChannels);
    const mode_t before = ::umask(077);
    process.start(
        QStringLiteral(KAVO_CMAKE),
        QStringList{"--install"_s, QStringLiteral(KAVO_BUILD_FOLDER), "--prefix"_s, "/usr"_s} +
            options);
    const bool finished = process.waitForFinished();
    ::umask(before);
    QVERIFY2(finished && process.exitCode() == 0, process.readAll().constData());
}

QStringList PackagingTest::find(const QString &root, QDir::Filters filters)
{
    QStringList found;
    QDirIterator iterator(root, filters | QDir::Hidden | QDir::NoDotAndDotDot,
                          QDirIterator::Subdirectories);
    while (iterator.hasNext())
        found.append(QDir(root).relativeFilePath(iterator.next()));
    found.sort();
    return found;
}

void PackagingTest::installationContainsExactlyTheseFiles()
{
    const QString data = "usr/share/"_s;
    QStringList expected{
        "usr/bin/kavo-catalogue"_s,
        "usr/bin/kavo-suite"_s,
        "usr/lib/kavo-suite/kavo-suite"_s,
        data + "applications/"_s + DesktopId + ".desktop"_s,
        data + "icons/hicolor/scalable/apps/kavo-suite.svg"_s,
        data + "kavo-catalogue/catalogue.schema.json"_s,
        data + "man/man1/kavo-catalogue.1"_s,
        data + "man/man1/kavo-suite.1"_s,
        data + "metainfo/"_s + DesktopId + ".metainfo.xml"_s,
    };
    for (const QString &language : Kavo::languages().mid(1))
        expected.append("usr/lib/kavo-suite/translations/qt_%1.qm"_s.arg(language));
    for (const QString &notice :
         QStringLiteral(KAVO_FONT_NOTICES).split(QLatin1Char(' '), Qt::SkipEmptyParts))
        expected.append(data + "doc/kavo-suite/"_s + notice);
    for (const int size : {16, 24, 32, 48, 64, 128, 256, 512})
        expected.append(data + "icons/hicolor/%1x%1/apps/kavo-suite.png"_s.arg(size));
    expected.sort();
    QCOMPARE(find(QDir::Files | QDir::System), expected);
}

void PackagingTest::fullPackageAddsWhatDebianAsksFor()
{
    const QString manuals = "usr/share/man/man1/"_s;
    const QString documents = "usr/share/doc/kavo-suite/"_s;
    QStringList expected = find(QDir::Files | QDir::System);
    for (const QString &name : {"kavo-catalogue.1"_s, "kavo-suite.1"_s}) {
        QVERIFY(expected.removeOne(manuals + name));
        expected.append(manuals + name + ".gz"_s);
    }
    expected += {documents + "changelog.gz"_s, documents + "copyright"_s};
    expected.sort();
    QCOMPARE(find(m_suite.path(), QDir::Files | QDir::System), expected);
}

void PackagingTest::catalogueToolHasAPackageOfItsOwn()
{
    const QTemporaryDir root;
    install(root.path(), {"--component"_s, "catalogue"_s});
    const QStringList shared{"usr/bin/kavo-catalogue"_s,
                             "usr/share/kavo-catalogue/catalogue.schema.json"_s,
                             "usr/share/man/man1/kavo-catalogue.1.gz"_s};
    const QString documents = "usr/share/doc/kavo-catalogue/"_s;
    QStringList expected{documents + "changelog.gz"_s, documents + "copyright"_s};
    expected += shared;
    expected.sort();
    QCOMPARE(find(root.path(), QDir::Files | QDir::System), expected);
    for (const QString &file : shared) {
        QVERIFY(!readFile(root.filePath(file)).isEmpty());
        QVERIFY2(readFile(root.filePath(file)) == readFile(m_suite.filePath(file)),
                 qPrintable(file));
    }
}

/// Both packages would contain the command, and two packages cannot own one file.
void PackagingTest::fullPackageReplacesTheSmallOne()
{
    QCOMPARE(packageField("SUITE", "CONFLICTS"), "kavo-catalogue"_s);
    QCOMPARE(packageField("SUITE", "REPLACES"), "kavo-catalogue"_s);
    QCOMPARE(packageField("SUITE", "PROVIDES"), "kavo-catalogue (= %1)"_s.arg(Version));
    QCOMPARE(packageField("CATALOGUE", "REPLACES"), QString());
}

void PackagingTest::permissionsDoNotDependOnTheBuilder()
{
    const auto modeOf = [this](const QString &path) {
        struct stat status = {};
        return ::stat(QFile::encodeName(installed(path)).constData(), &status) == 0
                   ? static_cast<int>(status.st_mode & 07777)
                   : -1;
    };
    QVERIFY(!find(QDir::Files).isEmpty());
    for (const QString &file : find(QDir::Files)) {
        const bool runs = file.endsWith("/kavo-suite"_s) || file.endsWith("/kavo-catalogue"_s);
        QVERIFY2(modeOf(file) == (runs ? 0755 : 0644), qPrintable(file));
    }
}

void PackagingTest::commandIsARelativeLinkToTheProgram()
{
    const QString link = installed("usr/bin/kavo-suite"_s);
    std::array<char, 64> target = {};
    QVERIFY(::readlink(QFile::encodeName(link).constData(), target.data(), target.size() - 1) > 0);
    QCOMPARE(target.data(), "../lib/kavo-suite/kavo-suite");
    const QFileInfo program(installed("usr/lib/kavo-suite/kavo-suite"_s));
    QCOMPARE(QFileInfo(link).canonicalFilePath(), program.canonicalFilePath());
    QVERIFY(program.isExecutable());
}

void PackagingTest::translationIsBesideTheProgram()
{
    QTranslator translator;
    QVERIFY(translator.load("qt_de"_s, installed("usr/lib/kavo-suite/translations"_s)));
    QCOMPARE(translator.translate("Kavo::Components::WindowControl", "Close"), "Schließen"_s);
    // Qt's own texts have another licence. They are in a package of their own, on which this one
    // depends.
    QVERIFY(translator.translate("QPlatformTheme", "&Yes").isEmpty());
    QVERIFY(!packagingText("copyright"_s).contains("qtbase"_s));
}

void PackagingTest::packageDependsOnWhatTheProgramLoads()
{
    const QStringList depends = packageField("SUITE", "DEPENDS").split(", "_s);
    for (const char *package :
         {"p7zip-full", "plocate | locate", "libqt5sql5-sqlite", "qttranslations5-l10n"})
        QVERIFY2(depends.contains(QLatin1String(package)), package);
    QCOMPARE(packageField("CATALOGUE", "DEPENDS"), "p7zip-full"_s);
}

void PackagingTest::iconsHaveTheSizeOfTheirFolder()
{
    int seen = 0;
    for (const QString &file : find(QDir::Files)) {
        const int size = firstMatch(file, "/(\\d+)x\\1/apps/"_s).toInt();
        if (size == 0)
            continue;
        ++seen;
        const QImage icon(installed(file));
        QCOMPARE(icon.size(), QSize(size, size));
        // The icon has round corners: the corner is transparent, the centre is opaque.
        QCOMPARE(qAlpha(icon.pixel(0, 0)), 0);
        QCOMPARE(qAlpha(icon.pixel(size / 2, size / 2)), 255);
    }
    QCOMPARE(seen, 8);
}

void PackagingTest::compressedTextsAreWhole_data()
{
    Rows<QString, QString> rows;
    for (const char *name : {"kavo-suite.1", "kavo-catalogue.1"}) {
        const QString page = QLatin1String(name);
        rows.row(name, "usr/share/man/man1/%1.gz"_s.arg(page), manual(page));
    }
    rows.row("changelog", "usr/share/doc/kavo-suite/changelog.gz", packagingText("changelog"_s));
}

void PackagingTest::compressedTextsAreWhole()
{
    const auto [path, text] = Rows<QString, QString>::current();
    QVERIFY(!text.isEmpty());
    QCOMPARE(outputOf("gzip"_s, {"-dc"_s, m_suite.filePath(path)}), text);
    // The file contains no time (bytes 4 to 7), so that two builds give the same file.
    QCOMPARE(readFile(m_suite.filePath(path)).mid(4, 4), QByteArray(4, '\0'));
}

/// The manual page contains the tool's own description of its options.
void PackagingTest::manualHasEveryCommandAndOption()
{
    const QString page = manual("kavo-catalogue.1"_s).replace("\\-"_s, "-"_s);
    const auto helpOf = [this](const QStringList &command) {
        return outputOf(tool(), command + QStringList("--help"_s));
    };
    const QStringList commands =
        allMatches(helpOf({}), "^  ([a-z]+) +\\S"_s) + QStringList(QString());
    QVERIFY(commands.contains("check"_s));
    for (const QString &command : commands) {
        const QStringList arguments = command.isEmpty() ? QStringList() : QStringList(command);
        QVERIFY2(command.isEmpty() || page.contains("\n.SS "_s + command), qPrintable(command));
        const QStringList options = allMatches(helpOf(arguments), "(?<![\\w-])(--[a-z][a-z-]*)"_s);
        QVERIFY(options.contains("--help"_s));
        for (const QString &option : options)
            QVERIFY2(allMatches(page, "(--[a-z][a-z-]*)"_s).contains(option),
                     qPrintable(command + QLatin1Char(' ') + option));
    }
}

void PackagingTest::desktopEntryNamesWhatIsInstalled()
{
    const QString program = entryValue("Exec"_s);
    QCOMPARE(entryValue("TryExec"_s), program);
    QVERIFY(QFileInfo(installed("usr/bin/"_s + program)).isExecutable());
    const QString icons = "usr/share/icons/hicolor/48x48/apps/%1.png"_s;
    QVERIFY(QFile::exists(installed(icons.arg(entryValue("Icon"_s)))));
    for (const QString &language : Kavo::languages().mid(1)) {
        for (const QString &key : {"GenericName[%1]"_s, "Comment[%1]"_s, "Keywords[%1]"_s})
            QVERIFY2(!entryValue(key.arg(language)).isEmpty(), qPrintable(key.arg(language)));
    }
}

void PackagingTest::metainfoBelongsToTheDesktopEntry()
{
    const auto textsOf = [](const QString &name) {
        QStringList texts;
        for (const Element &element : metainfo(name))
            texts.append(element.value(QString()));
        return texts;
    };
    QCOMPARE(textsOf("id"_s), QStringList(DesktopId));
    QCOMPARE(textsOf("launchable"_s), QStringList(DesktopId + ".desktop"_s));
    QCOMPARE(textsOf("name"_s), QStringList(entryValue("Name"_s)));
    QCOMPARE(textsOf("binary"_s), QStringList(entryValue("Exec"_s)));
    QCOMPARE(textsOf("icon"_s), QStringList(entryValue("Icon"_s)));
    QCOMPARE(textsOf("category"_s).join(QLatin1Char(';')) + QLatin1Char(';'),
             entryValue("Categories"_s));
    for (const char *name : {"summary", "caption", "p", "li"}) {
        QMap<QString, int> counts;
        for (const Element &element : metainfo(QLatin1String(name)))
            ++counts[element.value("lang"_s, "en"_s)];
        QStringList languages = Kavo::languages();
        languages.sort();
        QCOMPARE(counts.keys(), languages);
        QCOMPARE(counts.values(),
                 QList<int>::fromVector(QVector<int>(counts.size(), counts.first())));
    }
}

void PackagingTest::screenshotsAreThoseOfTheReadme()
{
    const auto images = metainfo("image"_s);
    QCOMPARE(images.size(), 3);
    for (const Element &image : images) {
        const QString name = image.value(QString()).section(QLatin1Char('/'), -1);
        const QImage picture(QStringLiteral(KAVO_PICTURE_FOLDER "/") + name);
        QVERIFY2(!picture.isNull(), qPrintable(name));
        QCOMPARE(picture.size(),
                 QSize(image.value("width"_s).toInt(), image.value("height"_s).toInt()));
    }
}

void PackagingTest::versionIsTheSameEverywhere()
{
    QCOMPARE(firstMatch(packagingText("changelog"_s), "\\Akavo-suite \\(([^)]*)\\)"_s), Version);
    QCOMPARE(outputOf(tool(), {"--version"_s}), "kavo-catalogue %1\n"_s.arg(Version));
    const auto releases = metainfo("release"_s);
    QVERIFY(!releases.isEmpty());
    QCOMPARE(releases.first().value("version"_s), Version);
    for (const QString &name : {"kavo-suite.1"_s, "kavo-catalogue.1"_s}) {
        const QString page = manual(name);
        QCOMPARE(firstMatch(page, "^\\.TH .*\"Kavo Suite ([^\"]*)\""_s), Version);
        QCOMPARE(firstMatch(page, "^\\.TH \\S+ \\d (\\S+)"_s), releases.first().value("date"_s));
    }
}

KAVO_TEST_MAIN(PackagingTest)
#include "PackagingTest.moc"
