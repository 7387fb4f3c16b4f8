#include "tests/ui/StyleSheet.h"
#include "tests/support/TestMain.h"

#include <QFile>
#include <QImage>

#include <algorithm>

using namespace Kavo::Testing;

namespace {

constexpr double Readable = 4.5;

/// The green of the word "Free", which the program sets itself.
const QColor FreeColor(QStringLiteral("#66b771"));

/// What a text stands on when its own rule has no ground.
const QMap<QString, QStringList> Grounds{
    {QStringLiteral("QWidget"), {QStringLiteral("#ApplicationWindow"), QStringLiteral("QDialog")}},
    {QStringLiteral("#SearchField"), {QStringLiteral("QLineEdit")}},
    {QStringLiteral("#PackageDescription"), {QStringLiteral("#PackageWidget")}},
    {QStringLiteral("#PackageInstalled"), {QStringLiteral("#PackageWidget")}},
    {QStringLiteral("#PackageAvailable"), {QStringLiteral("#PackageWidget")}},
    {QStringLiteral("#PackageStatus"), {QStringLiteral("#PackageWidget")}},
    {QStringLiteral("#PackageIcon"), {QStringLiteral("#PackageWidget")}},
    {QStringLiteral("#ProcessingMessage"), {QStringLiteral("#PackageContainer")}},
    {QStringLiteral("#DetailProgress"), {QStringLiteral("#PackageDetailTitleBar")}},
    {QStringLiteral("#SidebarCaption"), {QStringLiteral("#PackageSidebar")}},
    {QStringLiteral("QTabBar::tab"), {QStringLiteral("#PackageDetail"), QStringLiteral("QDialog")}},
    {QStringLiteral("#FactLabel"), {QStringLiteral("#PackageDetailInfoWidget")}},
    {QStringLiteral("#FileSelectorCaption"), {QStringLiteral("#PathSettingsWidget")}},
    {QStringLiteral("#LanguageLabel"), {QStringLiteral("#GeneralSettingsWidget")}},
    {QStringLiteral("#DiskCaption"), {QStringLiteral("#DiskSettingsWidget")}},
    {QStringLiteral("#WindowMinimize"), {QStringLiteral("#TopBar")}},
    {QStringLiteral("#WindowMaximize"), {QStringLiteral("#TopBar")}},
    {QStringLiteral("#WindowClose"), {QStringLiteral("#TopBar")}},
    {QStringLiteral("#BackButton"), {QStringLiteral("#PackageDetail")}},
    {QStringLiteral("#CarouselPrevious"), {QStringLiteral("#Carousel")}},
    {QStringLiteral("#CarouselNext"), {QStringLiteral("#Carousel")}},
};

/// Grounds on which no text in the colour of the window ever stands.
const QStringList Textless{QStringLiteral("#Carousel"),
                           QStringLiteral("#CarouselPrevious"),
                           QStringLiteral("#CarouselNext"),
                           QStringLiteral("QCheckBox::indicator"),
                           QStringLiteral("QListView::indicator"),
                           QStringLiteral("QScrollBar::handle"),
                           QStringLiteral("QProgressBar"),
                           QStringLiteral("QProgressBar::chunk")};

bool isSolid(const QColor &color)
{
    return color.isValid() && color.alpha() == 255;
}

QStringList subjectsOf(const StyleSheet &sheet)
{
    QStringList subjects;
    for (const StyleSheet::Rule &rule : sheet.rules())
        subjects.append(rule.subject());
    subjects.removeDuplicates();
    return subjects;
}

} // namespace

/// Judges the style sheet as it stands in the program's resources.
class StyleSheetTest final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void contrastIsThatOfTheGuidelines();
    void headNamesExactlyTheColorsInUse();
    void textIsReadableInEveryState_data();
    void textIsReadableInEveryState();
    void windowTextIsReadableOnEveryGround();
    void letterIsReadableOnItsTile();
    void glyphOfInstalledIsSeen();
    void wordFreeIsReadable();
    void glyphsAreSeenInEveryState_data();
    void glyphsAreSeenInEveryState();
    void everythingPressableHasItsStates_data();
    void everythingPressableHasItsStates();

private:
    /// Whether the sheet gives the text of a subject a colour in any of its states.
    bool hasTextOfItsOwn(const QString &subject) const;
    /// All grounds that a subject stands on in any of its states.
    QVector<QColor> groundsOf(const QString &subject) const;
    /// The worst contrast of a colour with the grounds of a subject.
    double worstContrast(const QColor &color, const QString &subject) const;

    QScopedPointer<StyleSheet> m_sheet;
};

void StyleSheetTest::initTestCase()
{
    QFile file(QStringLiteral(":/resources/style.qss"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    m_sheet.reset(new StyleSheet(QString::fromUtf8(file.readAll())));
    QVERIFY(m_sheet->rules().size() > 100);
}

bool StyleSheetTest::hasTextOfItsOwn(const QString &subject) const
{
    const QStringList states = m_sheet->states(subject);
    return std::any_of(states.begin(), states.end(), [this, subject](const QString &state) {
        return isSolid(m_sheet->color(subject, state, QStringLiteral("color")));
    });
}

QVector<QColor> StyleSheetTest::groundsOf(const QString &subject) const
{
    QVector<QColor> grounds;
    for (const QString &state : m_sheet->states(subject)) {
        const QColor own = m_sheet->color(subject, state, QStringLiteral("background"));
        if (isSolid(own)) {
            grounds.append(own);
            continue;
        }
        for (const QString &below : Grounds.value(subject))
            grounds += groundsOf(below);
    }
    return grounds;
}

double StyleSheetTest::worstContrast(const QColor &color, const QString &subject) const
{
    double worst = 21;
    for (const QColor &ground : groundsOf(subject))
        worst = qMin(worst, StyleSheet::contrast(color, ground));
    return worst;
}

void StyleSheetTest::contrastIsThatOfTheGuidelines()
{
    QVERIFY(qFuzzyCompare(StyleSheet::contrast(Qt::black, Qt::white), 21.0));
    QVERIFY(qFuzzyCompare(StyleSheet::contrast(Qt::red, Qt::red), 1.0));
    // The lightest grey that may carry black text, by the guidelines' own example.
    const QColor grey(QStringLiteral("#767676"));
    QCOMPARE(qRound(StyleSheet::contrast(grey, Qt::white) * 100), 454);
    QCOMPARE(StyleSheet::contrast(Qt::white, grey), StyleSheet::contrast(grey, Qt::white));
}

void StyleSheetTest::headNamesExactlyTheColorsInUse()
{
    QCOMPARE(StyleSheet::colorsIn(m_sheet->head()), StyleSheet::colorsIn(m_sheet->body()));
}

void StyleSheetTest::textIsReadableInEveryState_data()
{
    QTest::addColumn<QString>("subject");
    for (const QString &subject : subjectsOf(*m_sheet)) {
        if (hasTextOfItsOwn(subject))
            QTest::newRow(qPrintable(subject)) << subject;
    }
}

void StyleSheetTest::textIsReadableInEveryState()
{
    QFETCH(QString, subject);
    QVERIFY2(!groundsOf(subject).isEmpty(), "Nobody knows what this text stands on");
    for (const QString &state : m_sheet->states(subject)) {
        const QColor text = m_sheet->color(subject, state, QStringLiteral("color"));
        if (!isSolid(text))
            continue;
        // States meet: a selected tab has the keyboard too.
        const double worst = worstContrast(text, subject);
        QVERIFY2(
            worst >= Readable,
            qPrintable(QStringLiteral("%1%2 has a contrast of %3").arg(subject, state).arg(worst)));
    }
}

/// Other text has the colour of the window, wherever it stands.
void StyleSheetTest::windowTextIsReadableOnEveryGround()
{
    const QColor ink =
        m_sheet->color(QStringLiteral("QWidget"), QString(), QStringLiteral("color"));
    QVERIFY(isSolid(ink));
    int grounds = 0;
    for (const QString &subject : subjectsOf(*m_sheet)) {
        if (hasTextOfItsOwn(subject) || Textless.contains(subject))
            continue;
        for (const QColor &ground : groundsOf(subject)) {
            const double reached = StyleSheet::contrast(ink, ground);
            QVERIFY2(
                reached >= Readable,
                qPrintable(QStringLiteral("%1 has a contrast of %2").arg(subject).arg(reached)));
            ++grounds;
        }
    }
    QVERIFY(grounds > 20);
}

/// Of a package whose picture is not there.
void StyleSheetTest::letterIsReadableOnItsTile()
{
    const QString icon = QStringLiteral("#PackageIcon");
    const QColor tile = m_sheet->color(icon, QString(), QStringLiteral("qproperty-tile"));
    const QColor letter = m_sheet->color(icon, QString(), QStringLiteral("color"));
    QVERIFY(isSolid(tile));
    QVERIFY(StyleSheet::contrast(letter, tile) >= Readable);
}

/// The button has a light ground and brings its own glyph along.
void StyleSheetTest::glyphOfInstalledIsSeen()
{
    const QImage glyph(QStringLiteral(":/resources/img/check-green.png"));
    QColor drawn;
    for (int x = 0; x < glyph.width(); ++x) {
        const QColor pixel = glyph.pixelColor(x, glyph.height() * 7 / 10);
        if (isSolid(pixel))
            drawn = pixel;
    }
    QVERIFY(isSolid(drawn));
    QVERIFY(worstContrast(drawn, QStringLiteral("#Installed")) >= Readable);
}

void StyleSheetTest::wordFreeIsReadable()
{
    const QColor ground = m_sheet->color(QStringLiteral("#PackageStatus"), QString(),
                                         QStringLiteral("qproperty-ground"));
    QVERIFY(isSolid(ground));
    QVERIFY(StyleSheet::contrast(FreeColor, ground) >= Readable);
}

void StyleSheetTest::glyphsAreSeenInEveryState_data()
{
    QTest::addColumn<QColor>("glyph");
    QTest::addColumn<QString>("subject");
    for (const char *name : {"Download", "Update", "Busy", "Error", "Uninstall", "XPlaneButton",
                             "TopButton", "CarouselPrevious", "CarouselNext", "SettingsOk"})
        QTest::addRow("white on %s", name)
            << QColor(Qt::white) << QLatin1Char('#') + QLatin1String(name);
    for (const char *name :
         {"MoreDetail", "WindowMinimize", "WindowMaximize", "WindowClose", "BackButton"})
        QTest::addRow("black on %s", name)
            << QColor(Qt::black) << QLatin1Char('#') + QLatin1String(name);
    QTest::newRow("black on other buttons") << QColor(Qt::black) << QStringLiteral("QPushButton");
}

void StyleSheetTest::glyphsAreSeenInEveryState()
{
    QFETCH(QColor, glyph);
    QFETCH(QString, subject);
    QVERIFY(!groundsOf(subject).isEmpty());
    const double worst = worstContrast(glyph, subject);
    QVERIFY2(worst >= Readable, qPrintable(QStringLiteral("contrast of %1").arg(worst)));
}

void StyleSheetTest::everythingPressableHasItsStates_data()
{
    QTest::addColumn<QString>("subject");
    for (const char *name :
         {"QPushButton", "#Download", "#Update", "#Uninstall", "#XPlaneButton", "#TopButton",
          "#MoreDetail", "#WindowMinimize", "#WindowMaximize", "#WindowClose", "#BackButton",
          "#CarouselPrevious", "#CarouselNext", "#SettingsOk", "#DestroyingYes"})
        QTest::newRow(name) << QString::fromLatin1(name);
}

/// Under the pointer, held down, and with the keyboard it looks different from rest.
void StyleSheetTest::everythingPressableHasItsStates()
{
    QFETCH(QString, subject);
    const QString ground = QStringLiteral("background");
    const QColor rest = m_sheet->color(subject, QString(), ground);
    const QColor under = m_sheet->color(subject, QStringLiteral(":hover"), ground);
    const QColor pressed = m_sheet->color(subject, QStringLiteral(":pressed"), ground);
    QVERIFY(rest.isValid());
    QVERIFY(under != rest);
    QVERIFY(pressed != rest);
    QVERIFY(pressed != under);
    // Otherwise the rule of all buttons speaks.
    if (m_sheet->states(subject).contains(QStringLiteral(":focus"))) {
        const QColor edge =
            m_sheet->color(subject, QStringLiteral(":focus"), QStringLiteral("border-color"));
        QVERIFY(edge.isValid());
        QVERIFY(edge != m_sheet->color(subject, QString(), QStringLiteral("border-color")));
    }
}

KAVO_TEST_MAIN(StyleSheetTest)
#include "StyleSheetTest.moc"
