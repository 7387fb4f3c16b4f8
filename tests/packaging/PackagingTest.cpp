#include "tests/support/Files.h"
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

/// A manual page as it is installed.
QString manual(const QString &name)
{
    return QString::fromUtf8(readFile(QStringLiteral(KAVO_BUILD_FOLDER "/packaging/") + name));
}

/// The value of a key of the desktop entry.
QString entryValue(const QString &key)
{
    const QStringList lines =
        packagingText(DesktopId + QStringLiteral(".desktop")).split(QLatin1Char('\n'));
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
    QXmlStreamReader reader(packagingText(DesktopId + QStringLiteral(".metainfo.xml")));
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
    return firstMatch(configuration,
                      QStringLiteral("^set\\(CPACK_DEBIAN_%1_PACKAGE_%2 \"([^\"]*)\"\\)")
                          .arg(QLatin1String(component), QLatin1String(field)));
}

} // namespace

/// Installs the program into a scratch root, as a packager would, and checks the installed files.
class PackagingTest final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void installationHoldsTheseFilesAndNoOther();
    void fullPackageAddsWhatDebianAsksFor();
    void catalogueToolHasAPackageOfItsOwn();
    void fullPackageReplacesTheSmallOne();
    void permissionsDoNotDependOnTheBuilder();
    void commandIsARelativeLinkToTheProgram();
    void translationLiesBesideTheProgram();
    void packageBringsWhatTheProgramLoads();
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
    /// The paths below the root.
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
    install(m_suite.path(), {QStringLiteral("--component"), QStringLiteral("suite")});
}

void PackagingTest::install(const QString &root, const QStringList &options)
{
    QProcess process;
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("DESTDIR"), root);
    process.setProcessEnvironment(environment);
    process.setProcessChannelMode(QProcess::MergedChannels);
    const mode_t before = ::umask(077);
    process.start(QStringLiteral(KAVO_CMAKE),
                  QStringList{QStringLiteral("--install"), QStringLiteral(KAVO_BUILD_FOLDER),
                              QStringLiteral("--prefix"), QStringLiteral("/usr")} +
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

void PackagingTest::installationHoldsTheseFilesAndNoOther()
{
    const QString data = QStringLiteral("usr/share/");
    QStringList expected{
        QStringLiteral("usr/bin/kavo-catalogue"),
        QStringLiteral("usr/bin/kavo-suite"),
        QStringLiteral("usr/lib/kavo-suite/kavo-suite"),
        QStringLiteral("usr/lib/kavo-suite/translations/qt_de.qm"),
        data + QStringLiteral("applications/") + DesktopId + QStringLiteral(".desktop"),
        data + QStringLiteral("doc/kavo-suite/icon-font.txt"),
        data + QStringLiteral("doc/kavo-suite/text-font.txt"),
        data + QStringLiteral("icons/hicolor/scalable/apps/kavo-suite.svg"),
        data + QStringLiteral("kavo-catalogue/catalogue.schema.json"),
        data + QStringLiteral("man/man1/kavo-catalogue.1"),
        data + QStringLiteral("man/man1/kavo-suite.1"),
        data + QStringLiteral("metainfo/") + DesktopId + QStringLiteral(".metainfo.xml"),
    };
    for (const int size : {16, 24, 32, 48, 64, 128, 256, 512})
        expected.append(data + QStringLiteral("icons/hicolor/%1x%1/apps/kavo-suite.png").arg(size));
    expected.sort();
    QCOMPARE(find(QDir::Files | QDir::System), expected);
}

void PackagingTest::fullPackageAddsWhatDebianAsksFor()
{
    const QString manuals = QStringLiteral("usr/share/man/man1/");
    const QString documents = QStringLiteral("usr/share/doc/kavo-suite/");
    QStringList expected = find(QDir::Files | QDir::System);
    for (const char *name : {"kavo-catalogue.1", "kavo-suite.1"}) {
        QVERIFY(expected.removeOne(manuals + QLatin1String(name)));
        expected.append(manuals + QLatin1String(name) + QStringLiteral(".gz"));
    }
    expected +=
        {documents + QStringLiteral("changelog.gz"), documents + QStringLiteral("copyright")};
    expected.sort();
    QCOMPARE(find(m_suite.path(), QDir::Files | QDir::System), expected);
}

void PackagingTest::catalogueToolHasAPackageOfItsOwn()
{
    const QTemporaryDir root;
    install(root.path(), {QStringLiteral("--component"), QStringLiteral("catalogue")});
    const QStringList shared{QStringLiteral("usr/bin/kavo-catalogue"),
                             QStringLiteral("usr/share/kavo-catalogue/catalogue.schema.json"),
                             QStringLiteral("usr/share/man/man1/kavo-catalogue.1.gz")};
    const QString documents = QStringLiteral("usr/share/doc/kavo-catalogue/");
    QStringList expected{documents + QStringLiteral("changelog.gz"),
                         documents + QStringLiteral("copyright")};
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
    QCOMPARE(packageField("SUITE", "CONFLICTS"), QStringLiteral("kavo-catalogue"));
    QCOMPARE(packageField("SUITE", "REPLACES"), QStringLiteral("kavo-catalogue"));
    QCOMPARE(packageField("SUITE", "PROVIDES"),
             QStringLiteral("kavo-catalogue (= %1)").arg(Version));
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
        const bool runs = file.endsWith(QLatin1String("/kavo-suite")) ||
                          file.endsWith(QLatin1String("/kavo-catalogue"));
        QVERIFY2(modeOf(file) == (runs ? 0755 : 0644), qPrintable(file));
    }
}

void PackagingTest::commandIsARelativeLinkToTheProgram()
{
    const QString link = installed(QStringLiteral("usr/bin/kavo-suite"));
    std::array<char, 64> target = {};
    QVERIFY(::readlink(QFile::encodeName(link).constData(), target.data(), target.size() - 1) > 0);
    QCOMPARE(target.data(), "../lib/kavo-suite/kavo-suite");
    const QFileInfo program(installed(QStringLiteral("usr/lib/kavo-suite/kavo-suite")));
    QCOMPARE(QFileInfo(link).canonicalFilePath(), program.canonicalFilePath());
    QVERIFY(program.isExecutable());
}

void PackagingTest::translationLiesBesideTheProgram()
{
    QTranslator translator;
    QVERIFY(translator.load(QStringLiteral("qt_de"),
                            installed(QStringLiteral("usr/lib/kavo-suite/translations"))));
    QCOMPARE(translator.translate("Kavo::Components::WindowControl", "Close"),
             QStringLiteral("Schließen"));
    // Qt's own texts have another licence and stay in the package they come from.
    QVERIFY(translator.translate("QPlatformTheme", "&Yes").isEmpty());
    QVERIFY(!packagingText(QStringLiteral("copyright")).contains(QLatin1String("qtbase")));
}

void PackagingTest::packageBringsWhatTheProgramLoads()
{
    const QString depends = packageField("SUITE", "DEPENDS");
    for (const char *package :
         {"p7zip-full", "plocate | locate", "libqt5sql5-sqlite", "qttranslations5-l10n"})
        QVERIFY2(depends.split(QStringLiteral(", ")).contains(QLatin1String(package)), package);
    QCOMPARE(packageField("CATALOGUE", "DEPENDS"), QStringLiteral("p7zip-full"));
}

void PackagingTest::iconsHaveTheSizeOfTheirFolder()
{
    int seen = 0;
    for (const QString &file : find(QDir::Files)) {
        const int size = firstMatch(file, QStringLiteral("/(\\d+)x\\1/apps/")).toInt();
        if (size == 0)
            continue;
        ++seen;
        const QImage icon(installed(file));
        QCOMPARE(icon.size(), QSize(size, size));
        // The icon is rounded: its corner is transparent, its middle is not.
        QCOMPARE(qAlpha(icon.pixel(0, 0)), 0);
        QCOMPARE(qAlpha(icon.pixel(size / 2, size / 2)), 255);
    }
    QCOMPARE(seen, 8);
}

void PackagingTest::compressedTextsAreWhole_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("text");
    for (const char *name : {"kavo-suite.1", "kavo-catalogue.1"})
        QTest::newRow(name) << QStringLiteral("usr/share/man/man1/%1.gz").arg(QLatin1String(name))
                            << manual(QLatin1String(name));
    QTest::newRow("changelog") << QStringLiteral("usr/share/doc/kavo-suite/changelog.gz")
                               << packagingText(QStringLiteral("changelog"));
}

void PackagingTest::compressedTextsAreWhole()
{
    QFETCH(QString, path);
    QFETCH(QString, text);
    QProcess gzip;
    gzip.start(QStringLiteral("gzip"), {QStringLiteral("-dc"), m_suite.filePath(path)});
    QVERIFY(gzip.waitForFinished());
    QCOMPARE(gzip.exitCode(), 0);
    QVERIFY(!text.isEmpty());
    QCOMPARE(QString::fromUtf8(gzip.readAllStandardOutput()), text);
    // Two builds of the same text give the same file: bytes 4 to 7 would hold the time.
    QCOMPARE(readFile(m_suite.filePath(path)).mid(4, 4), QByteArray(4, '\0'));
}

/// The manual page contains the tool's own description of its options.
void PackagingTest::manualHasEveryCommandAndOption()
{
    const QString page = manual(QStringLiteral("kavo-catalogue.1"))
                             .replace(QLatin1String("\\-"), QLatin1String("-"));
    const auto helpOf = [this](const QStringList &command) {
        QProcess process;
        process.start(installed(QStringLiteral("usr/bin/kavo-catalogue")),
                      command + QStringList(QStringLiteral("--help")));
        const bool finished = process.waitForFinished() && process.exitCode() == 0;
        return finished ? QString::fromUtf8(process.readAllStandardOutput()) : QString();
    };
    const QStringList commands =
        allMatches(helpOf({}), QStringLiteral("^  ([a-z]+) +\\S")) + QStringList(QString());
    QVERIFY(commands.contains(QStringLiteral("check")));
    for (const QString &command : commands) {
        const QStringList arguments = command.isEmpty() ? QStringList() : QStringList(command);
        QVERIFY2(command.isEmpty() || page.contains(QStringLiteral("\n.SS ") + command),
                 qPrintable(command));
        const QStringList options =
            allMatches(helpOf(arguments), QStringLiteral("(?<![\\w-])(--[a-z][a-z-]*)"));
        QVERIFY(options.contains(QStringLiteral("--help")));
        for (const QString &option : options)
            QVERIFY2(allMatches(page, QStringLiteral("(--[a-z][a-z-]*)")).contains(option),
                     qPrintable(command + QLatin1Char(' ') + option));
    }
}

void PackagingTest::desktopEntryNamesWhatIsInstalled()
{
    const QString program = entryValue(QStringLiteral("Exec"));
    QCOMPARE(entryValue(QStringLiteral("TryExec")), program);
    QVERIFY(QFileInfo(installed(QStringLiteral("usr/bin/") + program)).isExecutable());
    const QString icons = QStringLiteral("usr/share/icons/hicolor/48x48/apps/%1.png");
    QVERIFY(QFile::exists(installed(icons.arg(entryValue(QStringLiteral("Icon"))))));
    for (const char *key : {"GenericName", "Comment", "Keywords"})
        QVERIFY2(!entryValue(QLatin1String(key) + QStringLiteral("[de]")).isEmpty(), key);
}

void PackagingTest::metainfoBelongsToTheDesktopEntry()
{
    const auto textsOf = [](const char *name) {
        QStringList texts;
        for (const Element &element : metainfo(QLatin1String(name)))
            texts.append(element.value(QString()));
        return texts;
    };
    QCOMPARE(textsOf("id"), QStringList(DesktopId));
    QCOMPARE(textsOf("launchable"), QStringList(DesktopId + QStringLiteral(".desktop")));
    QCOMPARE(textsOf("name"), QStringList(entryValue(QStringLiteral("Name"))));
    QCOMPARE(textsOf("binary"), QStringList(entryValue(QStringLiteral("Exec"))));
    QCOMPARE(textsOf("icon"), QStringList(entryValue(QStringLiteral("Icon"))));
    QCOMPARE(textsOf("category").join(QLatin1Char(';')) + QLatin1Char(';'),
             entryValue(QStringLiteral("Categories")));
    for (const char *name : {"summary", "caption", "p", "li"}) {
        int german = 0;
        const auto elements = metainfo(QLatin1String(name));
        for (const Element &element : elements)
            german += element.value(QStringLiteral("lang")) == QLatin1String("de");
        QVERIFY2(german > 0 && german * 2 == elements.size(), name);
    }
}

void PackagingTest::screenshotsAreThoseOfTheReadme()
{
    const auto images = metainfo(QStringLiteral("image"));
    QCOMPARE(images.size(), 3);
    for (const Element &image : images) {
        const QString name = image.value(QString()).section(QLatin1Char('/'), -1);
        const QImage picture(QStringLiteral(KAVO_PICTURE_FOLDER "/") + name);
        QVERIFY2(!picture.isNull(), qPrintable(name));
        QCOMPARE(picture.size(), QSize(image.value(QStringLiteral("width")).toInt(),
                                       image.value(QStringLiteral("height")).toInt()));
    }
}

void PackagingTest::versionIsTheSameEverywhere()
{
    QCOMPARE(firstMatch(packagingText(QStringLiteral("changelog")),
                        QStringLiteral("\\Akavo-suite \\(([^)]*)\\)")),
             Version);
    QProcess tool;
    tool.start(installed(QStringLiteral("usr/bin/kavo-catalogue")), {QStringLiteral("--version")});
    QVERIFY(tool.waitForFinished());
    QCOMPARE(QString::fromUtf8(tool.readAll()), QStringLiteral("kavo-catalogue %1\n").arg(Version));
    const auto releases = metainfo(QStringLiteral("release"));
    QVERIFY(!releases.isEmpty());
    QCOMPARE(releases.first().value(QStringLiteral("version")), Version);
    for (const char *name : {"kavo-suite.1", "kavo-catalogue.1"}) {
        const QString page = manual(QLatin1String(name));
        QCOMPARE(firstMatch(page, QStringLiteral("^\\.TH .*\"Kavo Suite ([^\"]*)\"")), Version);
        QCOMPARE(firstMatch(page, QStringLiteral("^\\.TH \\S+ \\d (\\S+)")),
                 releases.first().value(QStringLiteral("date")));
    }
}

KAVO_TEST_MAIN(PackagingTest)
#include "PackagingTest.moc"
