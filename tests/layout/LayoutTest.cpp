#include "tests/layout/SourceText.h"
#include "tests/support/Files.h"
#include "tests/support/TestMain.h"

#include <QDirIterator>
#include <QLibraryInfo>

using namespace Kavo::Testing;

namespace {

/// The rooms of the source tree (see docs/architecture.md), each with the rooms that its library
/// links. A file may include headers from its own room and from all rooms that this one links,
/// directly or indirectly.
const QMap<QString, QStringList> &rooms()
{
    static const QMap<QString, QStringList> links{
        {QStringLiteral("core"), {}},
        {QStringLiteral("downloads"), {QStringLiteral("core")}},
        {QStringLiteral("packages/model"), {QStringLiteral("core")}},
        {QStringLiteral("packages/catalogue"),
         {QStringLiteral("packages/model"), QStringLiteral("downloads")}},
        {QStringLiteral("packages/record"), {QStringLiteral("packages/model")}},
        {QStringLiteral("packages/installation"),
         {QStringLiteral("packages/catalogue"), QStringLiteral("packages/record")}},
        {QStringLiteral("packages"), {QStringLiteral("packages/installation")}},
        {QStringLiteral("components"), {QStringLiteral("downloads")}},
        {QStringLiteral("dialogs"), {QStringLiteral("components"), QStringLiteral("packages")}},
        {QStringLiteral("ui/package"), {QStringLiteral("dialogs")}},
        {QStringLiteral("ui/list"), {QStringLiteral("ui/package")}},
        {QStringLiteral("ui/detail"), {QStringLiteral("ui/package")}},
        {QStringLiteral("ui/window"), {QStringLiteral("ui/list"), QStringLiteral("ui/detail")}},
        {QStringLiteral("app"), {QStringLiteral("ui/window")}},
        {QStringLiteral("tools/check"), {QStringLiteral("packages")}},
        {QStringLiteral("tools/probe"), {QStringLiteral("packages")}},
        {QStringLiteral("tools/publish"), {QStringLiteral("tools/check")}},
        {QStringLiteral("tools/simulation"), {QStringLiteral("tools/check")}},
        {QStringLiteral("tools/schema"), {}},
        {QStringLiteral("tools"),
         {QStringLiteral("tools/probe"), QStringLiteral("tools/publish"),
          QStringLiteral("tools/simulation"), QStringLiteral("tools/schema")}},
    };
    return links;
}

/// The room of a file: the longest prefix of its path that is a room.
QString roomOf(const QString &path)
{
    QString folder = path.section(QLatin1Char('/'), 0, -2);
    while (!folder.isEmpty() && !rooms().contains(folder))
        folder = folder.section(QLatin1Char('/'), 0, -2);
    return folder;
}

/// The room and all rooms whose headers it may include.
QSet<QString> seenFrom(const QString &room)
{
    QSet<QString> seen{room};
    for (const QString &below : rooms().value(room))
        seen.unite(seenFrom(below));
    return seen;
}

/// The modules of Qt that a top-level folder may use. Empty for folders with widgets, which may use
/// any module.
QStringList modulesOf(const QString &folder)
{
    static const QMap<QString, QStringList> modules{
        {QStringLiteral("core"), {QStringLiteral("QtSql")}},
        {QStringLiteral("downloads"), {QStringLiteral("QtSql"), QStringLiteral("QtNetwork")}},
        {QStringLiteral("packages"),
         {QStringLiteral("QtSql"), QStringLiteral("QtNetwork"), QStringLiteral("QtConcurrent")}},
        {QStringLiteral("tools"),
         {QStringLiteral("QtSql"), QStringLiteral("QtNetwork"), QStringLiteral("QtConcurrent")}},
    };
    const auto found = modules.constFind(folder);
    return found == modules.cend() ? QStringList() : *found + QStringList(QStringLiteral("QtCore"));
}

bool isOfQt(const QString &include)
{
    return include.startsWith(QLatin1Char('Q')) ||
           (include.startsWith(QLatin1Char('q')) && include.endsWith(QLatin1String(".h")));
}

/// Whether the header, written with or without its module, belongs to one of these modules of Qt.
bool belongsTo(const QStringList &modules, const QString &include)
{
    const QDir headers(QLibraryInfo::location(QLibraryInfo::HeadersPath));
    const QString name = include.section(QLatin1Char('/'), -1);
    return std::any_of(modules.cbegin(), modules.cend(), [&](const QString &module) {
        const bool isNamed = name == include || include == module + QLatin1Char('/') + name;
        return isNamed && headers.exists(module + QLatin1Char('/') + name);
    });
}

} // namespace

/// Checks rules for the source files.
class LayoutTest final : public QObject
{
    Q_OBJECT

private slots:
    void helpersWork();
    void filesIncludeFromTheirRoomAndBelow();
    void includesNameTheirFolder();
    void engineUsesNoGuiModules();
    void headersHaveTheirSource();
    void testsDoNotSleep();
    void lambdasHaveAContext();
    void compatibilityPageMatchesTheFiles();

private:
    /// The files in these folders that match the patterns, relative to the source folder.
    static QStringList files(const QStringList &folders, const QStringList &patterns);
    static QString textOf(const QString &path);
    /// The names in backticks in one column of the tables of a page.
    static QSet<QString> namedIn(const QString &page, int column);
    static QString folderOf(const QString &path) { return path.section(QLatin1Char('/'), 0, 0); }
    /// The folders of the program and its tools.
    static QStringList codeFolders();
    static QStringList allFolders() { return codeFolders() + QStringList(QStringLiteral("tests")); }
    static QStringList anyCode() { return {QStringLiteral("*.h"), QStringLiteral("*.cpp")}; }
};

QStringList LayoutTest::files(const QStringList &folders, const QStringList &patterns)
{
    const QDir root(QStringLiteral(KAVO_SOURCE_FOLDER));
    QStringList found;
    for (const QString &folder : folders) {
        QDirIterator iterator(root.filePath(folder), patterns, QDir::Files,
                              QDirIterator::Subdirectories);
        while (iterator.hasNext())
            found.append(root.relativeFilePath(iterator.next()));
    }
    return found;
}

QStringList LayoutTest::codeFolders()
{
    QStringList folders;
    for (const QString &room : rooms().keys())
        folders.append(folderOf(room));
    folders.removeDuplicates();
    return folders;
}

QString LayoutTest::textOf(const QString &path)
{
    return QString::fromUtf8(readFile(QStringLiteral(KAVO_SOURCE_FOLDER "/") + path));
}

/// Tests the helpers on which the other tests rely.
void LayoutTest::helpersWork()
{
    QVERIFY(files(codeFolders(), anyCode()).size() > 20);
    QCOMPARE(roomOf(QStringLiteral("packages/Engine.h")), QStringLiteral("packages"));
    QCOMPARE(roomOf(QStringLiteral("packages/model/Package.h")), QStringLiteral("packages/model"));
    QCOMPARE(roomOf(QStringLiteral("components/iconfont/Glyph.h")), QStringLiteral("components"));
    QCOMPARE(roomOf(QStringLiteral("QtCore/QString")), QString());
    QCOMPARE(seenFrom(QStringLiteral("components")),
             QSet<QString>({QStringLiteral("components"), QStringLiteral("downloads"),
                            QStringLiteral("core")}));
    QVERIFY(seenFrom(QStringLiteral("ui/window")).contains(QStringLiteral("packages/model")));
    QVERIFY(!seenFrom(QStringLiteral("ui/list")).contains(QStringLiteral("ui/detail")));
    QVERIFY(!seenFrom(QStringLiteral("app")).contains(QStringLiteral("tools")));
    QCOMPARE(codeOf(QStringLiteral("a; // b\n/* c\n */ d(\"e\\\"f\", 'g', 1'000);")),
             QStringLiteral("a; \n\n d(, , 1'000);"));
    QCOMPARE(codeOf(QStringLiteral("R\"x(a\"b)\" c)x\"; d")), QStringLiteral("R; d"));
    QCOMPARE(includesOf(QStringLiteral("#include \"a/b.h\"\n#include <c>\n#include \"d.h\"\n")),
             QStringList({QStringLiteral("a/b.h"), QStringLiteral("d.h")}));
    QCOMPARE(libraryIncludesOf(
                 QStringLiteral("#include \"a/b.h\"\n # include  <c/d>\n// #include <e>\n")),
             QStringList(QStringLiteral("c/d")));
    QVERIFY(declaresClassWithFunctions(QStringLiteral("class A final : B { void c() const; };")));
    QVERIFY(declaresClassWithFunctions(QStringLiteral("struct A { A(); int b = 1; };")));
    QVERIFY(!declaresClassWithFunctions(QStringLiteral("struct A { int b() { return 1; } };")));
    QVERIFY(!declaresClassWithFunctions(QStringLiteral("struct A { int b; }; void c();")));
    const auto calls = connectCallsOf(
        QStringLiteral("connect(a, &A::b, this, [x, y] { f(1, 2); }); disconnect(a);\n"
                       "QObject::connect(a, &A::b, [] {}); server.connect(a);"));
    QCOMPARE(calls.size(), 2);
    QCOMPARE(calls.first().size(), 4);
    QCOMPARE(calls.last().last(), QStringLiteral("[] {}"));
}

void LayoutTest::filesIncludeFromTheirRoomAndBelow()
{
    QStringList wrong;
    for (const QString &path : files(codeFolders(), anyCode())) {
        const QSet<QString> seen = seenFrom(roomOf(path));
        for (const QString &include : includesOf(textOf(path))) {
            if (!include.endsWith(QLatin1String(".moc")) && !seen.contains(roomOf(include)))
                wrong.append(path + QStringLiteral(" includes ") + include);
        }
    }
    QVERIFY2(wrong.isEmpty(), qPrintable(wrong.join(QLatin1Char('\n'))));
}

void LayoutTest::includesNameTheirFolder()
{
    QStringList wrong;
    for (const QString &path : files(allFolders(), anyCode())) {
        for (const QString &include : includesOf(textOf(path))) {
            const bool generated = include.endsWith(QLatin1String(".moc"));
            if (!generated && !allFolders().contains(folderOf(include)))
                wrong.append(path + QStringLiteral(" includes ") + include);
        }
    }
    QVERIFY2(wrong.isEmpty(), qPrintable(wrong.join(QLatin1Char('\n'))));
}

/// The code that finds, installs and removes packages must also work without a display.
void LayoutTest::engineUsesNoGuiModules()
{
    QVERIFY(belongsTo(modulesOf(QStringLiteral("core")), QStringLiteral("QString")));
    for (const char *header : {"QFont", "QtGui/QFont", "QtWidgets", "QtWidgets/QtWidgets",
                               "qwidget.h", "QtCore/QFont"}) {
        QVERIFY2(isOfQt(QLatin1String(header)), header);
        QVERIFY2(!belongsTo(modulesOf(QStringLiteral("packages")), QLatin1String(header)), header);
    }
    int seen = 0;
    QStringList wrong;
    for (const QString &path : files(codeFolders(), anyCode())) {
        const QStringList modules = modulesOf(folderOf(path));
        if (modules.isEmpty())
            continue;
        for (const QString &include : libraryIncludesOf(textOf(path))) {
            if (!isOfQt(include))
                continue;
            ++seen;
            if (!belongsTo(modules, include))
                wrong.append(path + QStringLiteral(" includes ") + include);
        }
    }
    QVERIFY(seen > 100);
    QVERIFY2(wrong.isEmpty(), qPrintable(wrong.join(QLatin1Char('\n'))));
}

void LayoutTest::headersHaveTheirSource()
{
    QStringList wrong;
    for (const QString &path : files(allFolders(), {QStringLiteral("*.h")})) {
        const QString source = path.chopped(1) + QStringLiteral("cpp");
        if (declaresClassWithFunctions(codeOf(textOf(path))) &&
            !QFile::exists(QStringLiteral(KAVO_SOURCE_FOLDER "/") + source))
            wrong.append(path);
    }
    QVERIFY2(wrong.isEmpty(), qPrintable(wrong.join(QLatin1Char('\n'))));
}

void LayoutTest::testsDoNotSleep()
{
    const QRegularExpression wait(QStringLiteral(
        "\\b(qWait|qSleep|msleep|usleep|sleep_for|sleep_until)\\s*\\(|\\bQThread::sleep\\s*\\(|"
        "(?<![\\w:.])sleep\\s*\\("));
    QVERIFY(wait.match(QStringLiteral("QTest::qWait(1)")).hasMatch());
    QVERIFY(!wait.match(QStringLiteral("QTest::qWaitFor(")).hasMatch());
    QStringList wrong;
    for (const QString &path : files({QStringLiteral("tests")}, anyCode())) {
        if (wait.match(codeOf(textOf(path))).hasMatch())
            wrong.append(path);
    }
    QVERIFY2(wrong.isEmpty(), qPrintable(wrong.join(QLatin1Char('\n'))));
}

void LayoutTest::lambdasHaveAContext()
{
    QStringList wrong;
    for (const QString &path : files(allFolders(), anyCode())) {
        for (const QStringList &arguments : connectCallsOf(codeOf(textOf(path)))) {
            const bool bare = arguments.size() == 3 && arguments.at(2).startsWith(QLatin1Char('['));
            const bool byText = arguments.join(QLatin1Char(' ')).contains(QLatin1String("SIGNAL("));
            if (bare || byText)
                wrong.append(path + QStringLiteral(": ") + arguments.join(QStringLiteral(", ")));
        }
    }
    QVERIFY2(wrong.isEmpty(), qPrintable(wrong.join(QLatin1Char('\n'))));
}

QSet<QString> LayoutTest::namedIn(const QString &page, int column)
{
    const QRegularExpression name(QStringLiteral("`([A-Za-z0-9]+)`"));
    QSet<QString> names;
    for (const QString &line : textOf(page).split(QLatin1Char('\n'))) {
        if (!line.startsWith(QLatin1Char('|')))
            continue;
        auto found = name.globalMatch(line.section(QStringLiteral(" | "), column, column));
        while (found.hasNext())
            names.insert(found.next().captured(1));
    }
    return names;
}

/// The page must name exactly those source and test files that refer to it.
void LayoutTest::compatibilityPageMatchesTheFiles()
{
    const QString page = QStringLiteral("docs/compatibility.md");
    const auto thatNameThePage = [&page](const QStringList &paths) {
        QSet<QString> names;
        for (const QString &path : paths) {
            if (textOf(path).contains(QStringLiteral("ixed, see ") + page))
                names.insert(QFileInfo(path).completeBaseName());
        }
        return names;
    };
    const auto sorted = [](const QSet<QString> &names) {
        QStringList list = names.values();
        list.sort();
        return list;
    };
    const QSet<QString> places = namedIn(page, 1);
    const QSet<QString> tests = namedIn(page, 2);
    QVERIFY(places.size() > 20);
    QVERIFY(tests.size() > 20);
    QCOMPARE(sorted(thatNameThePage(files(codeFolders(), anyCode()))), sorted(places));
    QCOMPARE(sorted(thatNameThePage(files({QStringLiteral("tests")}, anyCode()))), sorted(tests));
}

KAVO_TEST_MAIN(LayoutTest)
#include "LayoutTest.moc"
