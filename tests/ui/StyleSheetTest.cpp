#include "tests/ui/StyleSheet.h"
#include "tests/support/Literals.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"

#include <QFile>
#include <QImage>

#include <algorithm>

using namespace Kavo::Testing;

namespace {

constexpr double Readable = 4.5;

/// The colour of the word "Free", which is not in the style sheet.
const QColor FreeColor("#66b771"_s);

/// Maps each background to the subjects on it that have no background of their own.
const QMap<QString, QStringList> StandingOn{
    {"#ApplicationWindow"_s, {"QWidget"_s}},
    {"QDialog"_s, {"QWidget"_s, "QTabBar::tab"_s}},
    {"QLineEdit"_s, {"#SearchField"_s}},
    {"#PackageWidget"_s,
     {"#PackageDescription"_s, "#PackageInstalled"_s, "#PackageAvailable"_s, "#PackageStatus"_s,
      "#PackageIcon"_s}},
    {"#PackageContainer"_s, {"#ProcessingMessage"_s}},
    {"#PackageDetailTitleBar"_s, {"#DetailProgress"_s}},
    {"#PackageSidebar"_s, {"#SidebarCaption"_s}},
    {"#PackageDetail"_s, {"QTabBar::tab"_s, "#BackButton"_s}},
    {"#PackageDetailInfoWidget"_s, {"#FactLabel"_s}},
    {"#PathSettingsWidget"_s, {"#FileSelectorCaption"_s}},
    {"#GeneralSettingsWidget"_s, {"#LanguageLabel"_s}},
    {"#DiskSettingsWidget"_s, {"#DiskCaption"_s}},
    {"#TopBar"_s, {"#WindowMinimize"_s, "#WindowMaximize"_s, "#WindowClose"_s}},
    {"#Carousel"_s, {"#CarouselPrevious"_s, "#CarouselNext"_s}},
};

/// Backgrounds without text in the colour of the window.
const QStringList Textless{"#Carousel"_s,
                           "#CarouselPrevious"_s,
                           "#CarouselNext"_s,
                           "QCheckBox::indicator"_s,
                           "QListView::indicator"_s,
                           "QScrollBar::handle"_s,
                           "QProgressBar"_s,
                           "QProgressBar::chunk"_s};

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

/// Checks the style sheet in the resources of the program.
class StyleSheetTest final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QFile file(":/resources/style.qss"_s);
        QVERIFY(file.open(QIODevice::ReadOnly));
        m_sheet.reset(new StyleSheet(QString::fromUtf8(file.readAll())));
        QVERIFY(m_sheet->rules().size() > 100);
    }

    void contrastIsThatOfTheGuidelines()
    {
        QVERIFY(qFuzzyCompare(StyleSheet::contrast(Qt::black, Qt::white), 21.0));
        QVERIFY(qFuzzyCompare(StyleSheet::contrast(Qt::red, Qt::red), 1.0));
        // An example from the guidelines.
        const QColor grey("#767676"_s);
        QCOMPARE(qRound(StyleSheet::contrast(grey, Qt::white) * 100), 454);
        QCOMPARE(StyleSheet::contrast(Qt::white, grey), StyleSheet::contrast(grey, Qt::white));
    }

    void headListsExactlyTheColorsInUse()
    {
        QCOMPARE(StyleSheet::colorsIn(m_sheet->head()), StyleSheet::colorsIn(m_sheet->body()));
    }

    void textIsReadableInEveryState_data()
    {
        Rows<QString> rows;
        for (const QString &subject : subjectsOf(*m_sheet)) {
            if (hasTextOfItsOwn(subject))
                rows.row(subject.toLatin1(), subject);
        }
    }

    void textIsReadableInEveryState()
    {
        const auto [subject] = Rows<QString>::current();
        QVERIFY2(!groundsOf(subject).isEmpty(), "The background of this text is unknown");
        for (const QString &state : m_sheet->states(subject)) {
            const QColor text = m_sheet->color(subject, state, "color"_s);
            if (!isSolid(text))
                continue;
            // Several states may apply at once, such as selected and focused.
            const double worst = worstContrast(text, subject);
            QVERIFY2(worst >= Readable,
                     qPrintable("%1%2 has a contrast of %3"_s.arg(subject, state).arg(worst)));
        }
    }

    /// Text without a colour of its own has the colour of the window.
    void windowTextIsReadableOnEveryGround()
    {
        const QColor ink = m_sheet->color("QWidget"_s, QString(), "color"_s);
        QVERIFY(isSolid(ink));
        int grounds = 0;
        for (const QString &subject : subjectsOf(*m_sheet)) {
            if (hasTextOfItsOwn(subject) || Textless.contains(subject))
                continue;
            for (const QColor &ground : groundsOf(subject)) {
                const double reached = StyleSheet::contrast(ink, ground);
                QVERIFY2(reached >= Readable,
                         qPrintable("%1 has a contrast of %2"_s.arg(subject).arg(reached)));
                ++grounds;
            }
        }
        QVERIFY(grounds > 20);
    }

    /// The letter is shown instead of a missing icon.
    void letterIsReadableOnItsTile()
    {
        const QString icon = "#PackageIcon"_s;
        const QColor tile = m_sheet->color(icon, QString(), "qproperty-tile"_s);
        const QColor letter = m_sheet->color(icon, QString(), "color"_s);
        QVERIFY(isSolid(tile));
        QVERIFY(StyleSheet::contrast(letter, tile) >= Readable);
    }

    /// The button has a light background and its own glyph.
    void glyphOfInstalledIsVisible()
    {
        const QImage glyph(":/resources/img/check-green.png"_s);
        QColor drawn;
        for (int x = 0; x < glyph.width(); ++x) {
            const QColor pixel = glyph.pixelColor(x, glyph.height() * 7 / 10);
            if (isSolid(pixel))
                drawn = pixel;
        }
        QVERIFY(isSolid(drawn));
        QVERIFY(worstContrast(drawn, "#Installed"_s) >= Readable);
    }

    void wordFreeIsReadable()
    {
        const QColor ground = m_sheet->color("#PackageStatus"_s, QString(), "qproperty-ground"_s);
        QVERIFY(isSolid(ground));
        QVERIFY(StyleSheet::contrast(FreeColor, ground) >= Readable);
    }

    void glyphsAreVisibleInEveryState_data()
    {
        Rows<QColor, QString> rows;
        for (const char *name :
             {"#Download", "#Update", "#Busy", "#Error", "#Uninstall", "#XPlaneButton",
              "#TopButton", "#CarouselPrevious", "#CarouselNext", "#SettingsOk"})
            rows.row(QByteArray("white on ") + name, Qt::white, name);
        for (const char *name : {"QPushButton", "#MoreDetail", "#WindowMinimize", "#WindowMaximize",
                                 "#WindowClose", "#BackButton"})
            rows.row(QByteArray("black on ") + name, Qt::black, name);
    }

    void glyphsAreVisibleInEveryState()
    {
        const auto [glyph, subject] = Rows<QColor, QString>::current();
        QVERIFY(!groundsOf(subject).isEmpty());
        const double worst = worstContrast(glyph, subject);
        QVERIFY2(worst >= Readable, qPrintable("contrast of %1"_s.arg(worst)));
    }

    void buttonsHaveTheirStates_data()
    {
        Rows<QString> rows;
        for (const char *name :
             {"QPushButton", "#Download", "#Update", "#Uninstall", "#XPlaneButton", "#TopButton",
              "#MoreDetail", "#WindowMinimize", "#WindowMaximize", "#WindowClose", "#BackButton",
              "#CarouselPrevious", "#CarouselNext", "#SettingsOk", "#DestroyingYes"})
            rows.row(name, name);
    }

    /// Hovered, pressed and focused buttons look different from others.
    void buttonsHaveTheirStates()
    {
        const auto [subject] = Rows<QString>::current();
        const QString ground = "background"_s;
        const QColor rest = m_sheet->color(subject, QString(), ground);
        const QColor under = m_sheet->color(subject, ":hover"_s, ground);
        const QColor pressed = m_sheet->color(subject, ":pressed"_s, ground);
        QVERIFY(rest.isValid());
        QVERIFY(under != rest);
        QVERIFY(pressed != rest);
        QVERIFY(pressed != under);
        // Without a rule of its own, the rule for all buttons applies.
        if (m_sheet->states(subject).contains(":focus"_s)) {
            const QColor edge = m_sheet->color(subject, ":focus"_s, "border-color"_s);
            QVERIFY(edge.isValid());
            QVERIFY(edge != m_sheet->color(subject, QString(), "border-color"_s));
        }
    }

private:
    /// Whether the sheet gives the text of a subject a colour in any of its states.
    bool hasTextOfItsOwn(const QString &subject) const
    {
        const QStringList states = m_sheet->states(subject);
        return std::any_of(states.begin(), states.end(), [this, subject](const QString &state) {
            return isSolid(m_sheet->color(subject, state, "color"_s));
        });
    }

    /// All backgrounds of a subject in any of its states.
    QVector<QColor> groundsOf(const QString &subject) const
    {
        QVector<QColor> grounds;
        for (const QString &state : m_sheet->states(subject)) {
            const QColor own = m_sheet->color(subject, state, "background"_s);
            if (isSolid(own)) {
                grounds.append(own);
                continue;
            }
            for (const QString &below : StandingOn.keys()) {
                if (StandingOn.value(below).contains(subject))
                    grounds += groundsOf(below);
            }
        }
        return grounds;
    }

    /// The lowest contrast of a colour with the backgrounds of a subject.
    double worstContrast(const QColor &color, const QString &subject) const
    {
        double worst = 21;
        for (const QColor &ground : groundsOf(subject))
            worst = qMin(worst, StyleSheet::contrast(color, ground));
        return worst;
    }

    QScopedPointer<StyleSheet> m_sheet;
};

KAVO_TEST_MAIN(StyleSheetTest)
#include "StyleSheetTest.moc"
