#include "tests/support/TestMain.h"

#include <QProcess>
#include <QRegularExpression>

/// Checks which libraries a built program needs.
class LinkageTest final : public QObject
{
    Q_OBJECT

private slots:
    void catalogueToolLinksNoGuiLibraries();

private:
    /// The libraries of Qt that the dynamic linker loads with the program, including indirect ones.
    static QStringList librariesOfQt(const QString &program);
};

QStringList LinkageTest::librariesOfQt(const QString &program)
{
    QProcess linker;
    linker.start(QStringLiteral("ldd"), {program});
    if (!linker.waitForFinished() || linker.exitCode() != 0)
        return {};
    static const QRegularExpression name(QStringLiteral("\\blib(Qt5\\w+)\\.so"));
    QSet<QString> found;
    auto matches = name.globalMatch(QString::fromUtf8(linker.readAllStandardOutput()));
    while (matches.hasNext())
        found.insert(matches.next().captured(1));
    QStringList sorted = found.values();
    sorted.sort();
    return sorted;
}

void LinkageTest::catalogueToolLinksNoGuiLibraries()
{
    // This test program uses widgets, so ldd must list them.
    const QStringList ofTest = librariesOfQt(QCoreApplication::applicationFilePath());
    QVERIFY(ofTest.contains(QStringLiteral("Qt5Gui")) &&
            ofTest.contains(QStringLiteral("Qt5Widgets")));
    QStringList ofTool = librariesOfQt(QStringLiteral(KAVO_CATALOGUE));
    QVERIFY(ofTool.removeAll(QStringLiteral("Qt5Core")) == 1);
    ofTool.removeAll(QStringLiteral("Qt5Network"));
    ofTool.removeAll(QStringLiteral("Qt5Sql"));
    QCOMPARE(ofTool, QStringList());
}

KAVO_TEST_MAIN(LinkageTest)
#include "LinkageTest.moc"
