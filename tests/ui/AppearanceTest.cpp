#include "app/Environment.h"
#include "core/ApplicationController.h"
#include "dialogs/SettingsDialog.h"
#include "tests/components/Widgets.h"
#include "tests/dialogs/SharedController.h"
#include "tests/support/MessageBoxAnswers.h"
#include "tests/support/TestMain.h"
#include "ui/detail/PackageDetailWidget.h"
#include "ui/list/ElidedLabel.h"
#include "ui/list/NameLabel.h"
#include "ui/window/ApplicationWindow.h"
#include "ui/window/TopbarController.h"

#include <QAbstractScrollArea>
#include <QComboBox>
#include <QDir>
#include <QFocusFrame>
#include <QJsonArray>
#include <QLineEdit>
#include <QMessageBox>
#include <QProgressBar>
#include <QSignalSpy>
#include <QTabWidget>

#include <memory>

using namespace Kavo::Testing;
using Kavo::Controllers::ApplicationController;
using Kavo::Controllers::PackageController;
using Kavo::Controllers::TopbarController;
using Kavo::Dialogs::SettingsDialog;
using Kavo::Models::Package;
using Kavo::Ui::ApplicationWindow;
using Kavo::Ui::ElidedLabel;
using Kavo::Ui::NameLabel;
using Kavo::Ui::PackageDetailWidget;

namespace {

QJsonObject inEnglish(const QString &text)
{
    return {{QStringLiteral("en"), text}};
}

/// As many letters, in words of seven.
QString letters(int count)
{
    QString text;
    while (text.size() < count)
        text += QStringLiteral("Mountai ");
    return text.left(count);
}

/// A package with very much of everything.
QJsonObject muchOfEverything(int id)
{
    QJsonArray versions;
    for (int number = 60; number > 0; --number) {
        QJsonArray log;
        for (int line = 0; line < 5; ++line)
            log.append(letters(200));
        versions.append(QJsonObject{
            {QStringLiteral("version"), QStringLiteral("2024.12.%1.20241231").arg(number)},
            {QStringLiteral("log"), log}});
    }
    QJsonArray banners;
    for (int number = 0; number < 30; ++number)
        banners.append(QString());
    return {{QStringLiteral("id"), id},
            {QStringLiteral("product_id"), 2147483647},
            {QStringLiteral("name"), inEnglish(letters(80))},
            {QStringLiteral("short_description"), inEnglish(letters(500))},
            {QStringLiteral("description"), inEnglish(letters(5000))},
            {QStringLiteral("type"), letters(40)},
            {QStringLiteral("versions"), versions},
            {QStringLiteral("banner"), banners}};
}

/// A package with nothing but what makes it one.
QJsonObject nothingAtAll(int id)
{
    return {{QStringLiteral("id"), id}};
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

/// Whether the children of this widget are its own affair: it scrolls them, or Qt made them.
bool arrangesByItself(const QWidget &parent)
{
    const auto *area = qobject_cast<const QAbstractScrollArea *>(parent.parentWidget());
    return (area && area->viewport() == &parent) || qobject_cast<const QComboBox *>(&parent) ||
           qobject_cast<const QAbstractScrollArea *>(&parent) ||
           qobject_cast<const QTabWidget *>(&parent) || qobject_cast<const QTabBar *>(&parent) ||
           qobject_cast<const QLineEdit *>(&parent);
}

/// Says what of a text would not be seen; empty when all of it is.
QString clippingOf(const QWidget &widget)
{
    QSize needed;
    const auto *label = qobject_cast<const QLabel *>(&widget);
    if (label) {
        if (label->text().isEmpty() || qobject_cast<const ElidedLabel *>(label) ||
            qobject_cast<const NameLabel *>(label))
            return {};
        needed = label->wordWrap() ? QSize(label->minimumSizeHint().width(),
                                           label->heightForWidth(label->width()))
                                   : label->sizeHint();
    } else if (qobject_cast<const QAbstractButton *>(&widget)) {
        needed = widget.sizeHint();
    }
    if (needed.width() <= widget.width() && needed.height() <= widget.height())
        return {};
    return QStringLiteral("%1: %2 x %3 of %4 x %5")
        .arg(pathOf(widget))
        .arg(widget.width())
        .arg(widget.height())
        .arg(needed.width())
        .arg(needed.height());
}

QList<QWidget *> visibleChildren(const QWidget &parent)
{
    QList<QWidget *> found;
    for (QWidget *child : parent.findChildren<QWidget *>(QString(), Qt::FindDirectChildrenOnly)) {
        // The ring of the keyboard is meant to lie around what has it.
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
                faults.append(pathOf(child) + QStringLiteral(" lies outside of its parent"));
            for (int j = 0; j < i; ++j) {
                if (child.geometry().intersects(children.at(j)->geometry()))
                    faults.append(pathOf(child) + QStringLiteral(" lies over ") +
                                  children.at(j)->objectName());
            }
        }
        const QString clipping = clippingOf(child);
        if (!clipping.isEmpty())
            faults.append(clipping);
        collectFaults(child, faults);
    }
}

/// Keeps a picture for the eye where KAVO_WALK_PICTURES names a folder.
void keepPicture(QWidget &widget, const QString &name)
{
    const QString folder = qEnvironmentVariable("KAVO_WALK_PICTURES");
    if (!folder.isEmpty())
        widget.grab().save(QDir(folder).filePath(name + QStringLiteral(".png")));
}

} // namespace

/// No text is cut off, nothing covers its neighbour and nothing sticks out, whatever the catalogue
/// says.
namespace {

/// A text of an error box in the language of this run.
QString boxText(const char *text)
{
    return QCoreApplication::translate("Kavo::Ui::StateLook", text);
}

} // namespace

class AppearanceTest final : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void listHoldsTogether_data() { sizes(); }
    void listHoldsTogether();
    void progressBarIsSlim();
    void detailHoldsTogether_data() { sizes(); }
    void detailHoldsTogether();
    void emptyDetailHoldsTogether_data() { sizes(); }
    void emptyDetailHoldsTogether();
    void settingsHoldTogether();

private:
    static void sizes();
    void open(const QSize &size);
    void openDetail(int id);
    static void check(QWidget &widget, const QString &pictureName);

    std::unique_ptr<Engine> m_engine;
    QSharedPointer<ApplicationController> m_application;
    std::unique_ptr<ApplicationWindow> m_window;
};

void AppearanceTest::initTestCase()
{
    Kavo::Components::iconFont()->initFontAwesome();
    Kavo::loadFonts();
    const QString language = qEnvironmentVariable("KAVO_TEST_LANGUAGE");
    if (language.isEmpty())
        return;
    QVERIFY(QDir::setCurrent(QStringLiteral(KAVO_TRANSLATION_FOLDER "/..")));
    Kavo::installTranslation(language);
    QVERIFY(QMessageBox::tr("Invalid Folder") != QLatin1String("Invalid Folder"));
}

void AppearanceTest::init()
{
    m_engine = std::make_unique<Engine>();
    m_engine->offerObject(muchOfEverything(1));
    m_engine->offerObject(nothingAtAll(2));
    for (int id = 3; id < 8; ++id)
        m_engine->offerObject(muchOfEverything(id));
}

void AppearanceTest::cleanup()
{
    m_window.reset();
    m_application.reset();
    m_engine.reset();
    qApp->setStyleSheet(QString());
}

void AppearanceTest::sizes()
{
    QTest::addColumn<QSize>("size");
    QTest::newRow("as it starts") << QSize(1320, 800);
    QTest::newRow("large") << QSize(1920, 1080);
}

void AppearanceTest::open(const QSize &size)
{
    m_engine->start();
    m_application = QSharedPointer<ApplicationController>::create();
    const auto packages = sharedController(*m_engine);
    const auto topbar =
        QSharedPointer<TopbarController>::create(m_engine->settings(), packages, m_application);
    m_engine->settings()->setPending(Kavo::Settings::SHOW_FILTER, QStringLiteral("true"));
    m_engine->settings()->setPending(Kavo::Settings::LOCAL_REPO, QStringLiteral("TRUE"));
    m_engine->settings()->apply();
    m_window = std::make_unique<ApplicationWindow>(m_application, packages, topbar);
    // The label of the local catalogue belongs to the picture; that catalogue is empty here.
    QSignalSpy listed(packages.data(), &PackageController::list);
    QVERIFY(listed.wait());
    m_engine->settings()->setPending(Kavo::Settings::LOCAL_REPO, QStringLiteral("false"));
    m_engine->settings()->apply();
    QVERIFY(m_engine->refresh());
    m_window->show();
    m_window->resize(size);
    QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
    QCOMPARE(m_window->size(), size);
}

void AppearanceTest::openDetail(int id)
{
    emit m_engine->controller().detail(m_engine->package(id));
    QVERIFY(m_window->findChild<PackageDetailWidget *>()->isVisible());
}

void AppearanceTest::check(QWidget &widget, const QString &pictureName)
{
    // Makes sure that everything is laid out.
    QCoreApplication::processEvents();
    keepPicture(widget, pictureName + QString::number(widget.width()));
    QStringList faults;
    collectFaults(widget, faults);
    QVERIFY2(faults.isEmpty(), qPrintable(QLatin1Char('\n') + faults.join(QLatin1Char('\n'))));
}

void AppearanceTest::listHoldsTogether()
{
    QFETCH(QSize, size);
    open(size);
    if (QTest::currentTestFailed())
        return;
    // The widest texts that a card can show; failures are told in boxes besides.
    MessageBoxAnswers answers;
    const QString name = m_engine->package(1)->name();
    answers.expect(boxText("Dependency Error"),
                   boxText("Unable to install one or more dependency for package : ") + name,
                   QMessageBox::Ok);
    m_engine->package(3)->setState(Package::DEPENDENCY_ERROR);
    QVERIFY(answers.waitForAll());
    answers.expect(boxText("Download Error"), boxText("Downloading failed for package : ") + name,
                   QMessageBox::Ok);
    m_engine->package(5)->setState(Package::DOWNLOAD_ERROR);
    QVERIFY(answers.waitForAll());
    m_engine->package(4)->setState(Package::DOWNLOADING);
    m_engine->package(6)->setState(Package::INSTALLED);
    m_engine->package(7)->setState(Package::UNINSTALLING);
    check(*m_window, QStringLiteral("appearance-list-"));
}

/// The style sheet must not overrule the height that the card allows.
void AppearanceTest::progressBarIsSlim()
{
    open(QSize(1320, 800));
    if (QTest::currentTestFailed())
        return;
    m_engine->package(1)->setState(Package::DOWNLOADING);
    emit m_engine->package(1)->totalSize(9000000);
    QCoreApplication::processEvents();
    auto *bar = child<QProgressBar>(*m_window, "PackageProgress");
    QVERIFY(bar->isVisible());
    QCOMPARE(bar->maximumHeight(), 16);
    QCOMPARE(bar->height(), 16);
    // A picture of the bar alone would have its ground filled.
    const QRect place(bar->mapTo(m_window.get(), QPoint()), bar->size());
    const QImage picture = m_window->grab(place).toImage();
    int rows = 0;
    for (int y = 0; y < picture.height(); ++y)
        rows += picture.pixelColor(picture.width() / 2, y) == QColor(0xd9, 0xe0, 0xe7) ? 1 : 0;
    QCOMPARE(rows, 6);
}

void AppearanceTest::detailHoldsTogether()
{
    QFETCH(QSize, size);
    open(size);
    if (QTest::currentTestFailed())
        return;
    for (const auto state : {Package::AVAILABLE, Package::INSTALLED, Package::DOWNLOADING}) {
        m_engine->package(1)->setState(state);
        openDetail(1);
        auto *tabs = child<QTabWidget>(*m_window, "DetailTabs");
        for (int page = 0; page < tabs->count(); ++page) {
            tabs->setCurrentIndex(page);
            check(*m_window, QStringLiteral("appearance-detail-%1-%2-").arg(int(state)).arg(page));
        }
    }
}

void AppearanceTest::emptyDetailHoldsTogether()
{
    QFETCH(QSize, size);
    open(size);
    if (QTest::currentTestFailed())
        return;
    openDetail(2);
    auto *tabs = child<QTabWidget>(*m_window, "DetailTabs");
    for (int page = 0; page < tabs->count(); ++page) {
        tabs->setCurrentIndex(page);
        check(*m_window, QStringLiteral("appearance-empty-%1-").arg(page));
    }
}

void AppearanceTest::settingsHoldTogether()
{
    open(QSize(1320, 800));
    if (QTest::currentTestFailed())
        return;
    m_engine->settings()->setPending(Kavo::Settings::CACHE, letters(300));
    m_engine->settings()->apply();
    SettingsDialog dialog(sharedController(*m_engine), m_engine->settings(), m_window.get());
    dialog.show();
    QVERIFY(QTest::qWaitForWindowExposed(&dialog));
    auto *tabs = child<QTabWidget>(dialog, "SettingsTabs");
    for (int page = 0; page < tabs->count(); ++page) {
        tabs->setCurrentIndex(page);
        check(dialog, QStringLiteral("appearance-settings-%1-").arg(page));
    }
    dialog.reject();
}

KAVO_TEST_MAIN(AppearanceTest)
#include "AppearanceTest.moc"
