#include "app/Environment.h"
#include "dialogs/SettingsDialog.h"
#include "tests/support/MessageBoxAnswers.h"
#include "tests/support/TestMain.h"
#include "tests/ui/WindowTest.h"
#include "ui/list/ElidedLabel.h"
#include "ui/list/NameLabel.h"

#include <QAbstractScrollArea>
#include <QComboBox>
#include <QDir>
#include <QFocusFrame>
#include <QJsonArray>
#include <QLineEdit>
#include <QProgressBar>
#include <QSignalSpy>
#include <QTabWidget>

using namespace Kavo::Testing;
using Kavo::Settings;
using Kavo::Controllers::PackageController;
using Kavo::Dialogs::SettingsDialog;
using Kavo::Ui::ElidedLabel;
using Kavo::Ui::NameLabel;

namespace {

/// A text of this length, in words of seven letters.
QString letters(int count)
{
    QString text;
    while (text.size() < count)
        text += "Mountai "_s;
    return text.left(count);
}

QString pathOf(const QWidget &widget)
{
    QString path;
    for (const QWidget *part = &widget; part;
         part = part->isWindow() ? nullptr : part->parentWidget()) {
        const QString name = part->objectName().isEmpty()
                                 ? QString::fromLatin1(part->metaObject()->className())
                                 : part->objectName();
        path.prepend(QLatin1Char('/') + name);
    }
    return path;
}

/// Whether the widget scrolls its children or is a compound widget of Qt. The places of its
/// children are not checked.
bool arrangesByItself(const QWidget &parent)
{
    const auto *area = qobject_cast<const QAbstractScrollArea *>(parent.parentWidget());
    return (area && area->viewport() == &parent) || qobject_cast<const QComboBox *>(&parent) ||
           qobject_cast<const QAbstractScrollArea *>(&parent) ||
           qobject_cast<const QTabWidget *>(&parent) || qobject_cast<const QTabBar *>(&parent) ||
           qobject_cast<const QLineEdit *>(&parent);
}

/// Describes the text that is cut off; empty if none is.
QString clippingOf(const QWidget &widget)
{
    QSize needed;
    QString text;
    const auto *label = qobject_cast<const QLabel *>(&widget);
    const auto *button = qobject_cast<const QAbstractButton *>(&widget);
    if (label) {
        text = label->text();
        if (label->text().isEmpty() || qobject_cast<const ElidedLabel *>(label) ||
            qobject_cast<const NameLabel *>(label))
            return {};
        needed = label->wordWrap() ? QSize(label->minimumSizeHint().width(),
                                           label->heightForWidth(label->width()))
                                   : label->sizeHint();
    } else if (button) {
        text = button->text();
        needed = button->sizeHint();
    }
    if (needed.width() <= widget.width() && needed.height() <= widget.height())
        return {};
    return "%1 \"%2\" has %3 x %4 and needs %5 x %6"_s.arg(pathOf(widget), text)
        .arg(widget.width())
        .arg(widget.height())
        .arg(needed.width())
        .arg(needed.height());
}

QList<QWidget *> visibleChildren(const QWidget &parent)
{
    QList<QWidget *> found;
    for (QWidget *child : parent.findChildren<QWidget *>(QString(), Qt::FindDirectChildrenOnly)) {
        // The focus ring extends beyond the focused widget.
        if (child->isVisible() && !child->isWindow() && !qobject_cast<QFocusFrame *>(child))
            found.append(child);
    }
    return found;
}

void collectFaults(const QWidget &parent, QStringList &faults)
{
    const QList<QWidget *> children = visibleChildren(parent);
    for (int i = 0; i < children.size(); ++i) {
        const QWidget &child = *children.at(i);
        if (!arrangesByItself(parent)) {
            if (!parent.rect().contains(child.geometry()))
                faults.append(pathOf(child) + " extends beyond its parent"_s);
            for (int j = 0; j < i; ++j) {
                if (child.geometry().intersects(children.at(j)->geometry()))
                    faults.append(pathOf(child) + " overlaps "_s + children.at(j)->objectName());
            }
        }
        const QString clipping = clippingOf(child);
        if (!clipping.isEmpty())
            faults.append(clipping);
        collectFaults(child, faults);
    }
}

/// Saves a picture if KAVO_WALK_PICTURES names a folder.
void keepPicture(QWidget &widget, const QString &name)
{
    const QString folder = qEnvironmentVariable("KAVO_WALK_PICTURES");
    if (!folder.isEmpty())
        widget.grab().save(QDir(folder).filePath(name + ".png"_s));
}

/// A text of an error box in the language of this run.
QString boxText(const char *text)
{
    return QCoreApplication::translate("Kavo::Ui::StateLook", text);
}

} // namespace

/// Tests that no text is cut off, no widget overlaps another and no widget extends beyond its
/// parent, whatever the catalogue contains.
class AppearanceTest final : public WindowTest
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        KAVO_NEEDS_TEXT_FONT();
        WindowTest::initTestCase();
        const QString language = qEnvironmentVariable("KAVO_TEST_LANGUAGE");
        if (language.isEmpty())
            return;
        QVERIFY(QDir::setCurrent(QStringLiteral(KAVO_TRANSLATION_FOLDER "/..")));
        Kavo::installTranslation(language);
        QVERIFY(QMessageBox::tr("Invalid Folder") != "Invalid Folder"_s);
    }

    void listHasNoLayoutFaults_data() { sizes(); }
    void listHasNoLayoutFaults()
    {
        const auto [size] = Rows<QSize>::current();
        QVERIFY(openAt(size));
        // The widest texts that a card can show. An error also opens a message box.
        MessageBoxAnswers answers;
        const QString name = package(1)->name();
        answers.expect(boxText("Dependency Error"),
                       boxText("Unable to install one or more dependency for package : ") + name,
                       QMessageBox::Ok);
        setState(3, Package::DEPENDENCY_ERROR);
        QVERIFY(answers.waitForAll());
        answers.expect(boxText("Download Error"),
                       boxText("Downloading failed for package : ") + name, QMessageBox::Ok);
        setState(5, Package::DOWNLOAD_ERROR);
        QVERIFY(answers.waitForAll());
        setState(4, Package::DOWNLOADING);
        setState(6, Package::INSTALLED);
        setState(7, Package::UNINSTALLING);
        QCOMPARE(faultsOf(window(), "appearance-list-"_s), QString());
    }

    /// The style sheet must not overrule the height that the card allows.
    void progressBarIsSlim()
    {
        QVERIFY(openAt(QSize(1320, 800)));
        setState(1, Package::DOWNLOADING);
        emit package(1)->totalSize(9000000);
        QCoreApplication::processEvents();
        auto *bar = child<QProgressBar>(window(), "PackageProgress");
        QVERIFY(bar->isVisible());
        QCOMPARE(bar->maximumHeight(), 16);
        QCOMPARE(bar->height(), 16);
        // A picture of the bar alone would have a filled background.
        const QRect place(bar->mapTo(&window(), QPoint()), bar->size());
        const QImage picture = window().grab(place).toImage();
        int rows = 0;
        for (int y = 0; y < picture.height(); ++y)
            rows += picture.pixelColor(picture.width() / 2, y) == QColor(0xd9, 0xe0, 0xe7) ? 1 : 0;
        QCOMPARE(rows, 6);
    }

    void detailHasNoLayoutFaults_data() { sizes(); }
    void detailHasNoLayoutFaults()
    {
        const auto [size] = Rows<QSize>::current();
        QVERIFY(openAt(size));
        for (const auto state : {Package::AVAILABLE, Package::INSTALLED, Package::DOWNLOADING}) {
            setState(1, state);
            emit controller().detail(package(1));
            QVERIFY(showsDetail());
            for (int page = 0; page < 3; ++page) {
                turnTo(page);
                const QString picture = "appearance-detail-%1-%2-"_s.arg(int(state)).arg(page);
                QCOMPARE(faultsOf(window(), picture), QString());
            }
        }
    }

    void emptyDetailHasNoLayoutFaults_data() { sizes(); }
    void emptyDetailHasNoLayoutFaults()
    {
        const auto [size] = Rows<QSize>::current();
        QVERIFY(openAt(size));
        emit controller().detail(package(2));
        QVERIFY(showsDetail());
        for (int page = 0; page < 3; ++page) {
            turnTo(page);
            QCOMPARE(faultsOf(window(), "appearance-empty-%1-"_s.arg(page)), QString());
        }
    }

    void settingsHaveNoLayoutFaults()
    {
        QVERIFY(openAt(QSize(1320, 800)));
        set(Settings::CACHE, letters(300));
        SettingsDialog dialog(shared(), settings(), &window());
        dialog.show();
        QVERIFY(QTest::qWaitForWindowExposed(&dialog));
        auto *tabs = child<QTabWidget>(dialog, "SettingsTabs");
        for (int page = 0; page < tabs->count(); ++page) {
            tabs->setCurrentIndex(page);
            QCOMPARE(faultsOf(dialog, "appearance-settings-%1-"_s.arg(page)), QString());
        }
        dialog.reject();
    }

private:
    /// A package with many versions, long texts and many banners.
    static QJsonObject muchOfEverything(int id)
    {
        QJsonArray versions;
        for (int number = 60; number > 0; --number) {
            QJsonArray log;
            for (int line = 0; line < 5; ++line)
                log.append(letters(200));
            versions.append(
                QJsonObject{{"version"_s, "2024.12.%1.20241231"_s.arg(number)}, {"log"_s, log}});
        }
        QJsonArray banners;
        for (int number = 0; number < 30; ++number)
            banners.append(QString());
        return {{"id"_s, id},
                {"product_id"_s, 2147483647},
                {"name"_s, inEnglish(letters(80))},
                {"short_description"_s, inEnglish(letters(500))},
                {"description"_s, inEnglish(letters(5000))},
                {"type"_s, letters(40)},
                {"versions"_s, versions},
                {"banner"_s, banners}};
    }
    static void sizes()
    {
        Rows<QSize>().row("as it starts", QSize(1320, 800)).row("large", QSize(1920, 1080));
    }
    /// Package 2 has nothing but its id. The others are muchOfEverything().
    bool openAt(const QSize &size)
    {
        for (int id = 1; id < 8; ++id)
            offerObject(id == 2 ? QJsonObject{{"id"_s, id}} : muchOfEverything(id));
        set(Settings::SHOW_FILTER, "true"_s);
        // The top bar shows the label of the local catalogue, which is empty here.
        set(Settings::LOCAL_REPO, "TRUE"_s);
        makeWindow();
        const bool listed = QSignalSpy(&controller(), &PackageController::list).wait();
        set(Settings::LOCAL_REPO, "false"_s);
        const bool loaded = refresh();
        window().show();
        window().resize(size);
        return listed && loaded && QTest::qWaitForWindowExposed(&window()) &&
               window().size() == size;
    }
    /// The faults of a widget, one for each line.
    static QString faultsOf(QWidget &widget, const QString &pictureName)
    {
        // The layout is finished after this.
        QCoreApplication::processEvents();
        keepPicture(widget, pictureName + QString::number(widget.width()));
        QStringList faults;
        collectFaults(widget, faults);
        return faults.join(QLatin1Char('\n'));
    }
};

KAVO_TEST_MAIN(AppearanceTest)
#include "AppearanceTest.moc"
