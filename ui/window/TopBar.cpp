#include "ui/window/TopBar.h"

#include "components/ButtonKeys.h"
#include "components/Buttons.h"
#include "components/Glyphs.h"
#include "components/IconFont.h"
#include "components/Picture.h"
#include "components/WindowControl.h"
#include "core/Installation.h"
#include "core/Settings.h"
#include "dialogs/MessageBoxes.h"
#include "dialogs/SettingsDialog.h"
#include "packages/PackageController.h"
#include "ui/list/SearchField.h"
#include "ui/window/TopbarController.h"

#include <QAction>
#include <QCoreApplication>
#include <QDir>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QMouseEvent>
#include <QPixmap>
#include <QPointer>
#include <QProcess>
#include <QPushButton>
#include <QWindow>

namespace Kavo::Ui {

using Components::WindowControl;
using Controllers::TopbarController;

namespace {

constexpr int MaximalHeight = 75;
constexpr int LogoHeight = 25;
/// In addition to the spacing between all buttons.
constexpr int ResetGap = 16;

/// Ctrl+F is first. Keyboards have up to two extra keys for it.
QList<QKeySequence> searchKeys()
{
    QList<QKeySequence> keys{int(Qt::CTRL) + Qt::Key_F, Qt::Key_Find, Qt::Key_Search};
    for (const QKeySequence &key : QKeySequence::keyBindings(QKeySequence::Find)) {
        if (!keys.contains(key))
            keys.append(key);
    }
    return keys;
}

/// Whether a program may position its windows. On Wayland only the compositor does.
bool placesWindows()
{
    return !QGuiApplication::platformName().startsWith(QLatin1String("wayland"));
}

} // namespace

TopBar::TopBar(const QSharedPointer<TopbarController> &controller, QWidget *parent)
    : StyledWidget(QStringLiteral("TopBar"), parent)
    , m_controller(controller)
{
    setMaximumHeight(MaximalHeight);
    auto *layout = new QHBoxLayout(this);
    layout->setSpacing(8);
    // Aligns logo and buttons with the edges of the list as far as stretches allow.
    layout->addStretch(3);
    addLogo(*layout);
    layout->addStretch(12);
    addRepositoryLabel(*layout);
    addLauncher(*layout);
    addSearch(*layout);
    addButtons(*layout);
    layout->addStretch(1);
    addWindowControl(*layout);

    showSearch(m_controller->settings()->showsFilter());
}

/// The button is handled with the field, which receives only its own key events.
void TopBar::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape && m_searchButton->hasFocus())
        endSearch();
    else
        StyledWidget::keyPressEvent(event);
}

void TopBar::mousePressEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton) {
        StyledWidget::mousePressEvent(event);
        return;
    }
    m_pressed = event->localPos().toPoint();
    m_dragging = true;
    event->accept();
}

void TopBar::mouseDoubleClickEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton) {
        StyledWidget::mouseDoubleClickEvent(event);
        return;
    }
    m_dragging = false;
    if (window()->isMaximized())
        m_controller->restore();
    else
        m_controller->maximize();
}

void TopBar::mouseMoveEvent(QMouseEvent *event)
{
    if (m_dragging && (event->buttons() & Qt::LeftButton))
        drag(event->localPos().toPoint());
}

void TopBar::mouseReleaseEvent(QMouseEvent *event)
{
    Q_UNUSED(event)
    m_dragging = false;
}

void TopBar::focusRefresh()
{
    m_refreshButton->setFocus(Qt::OtherFocusReason);
}

void TopBar::beginSearch(const QString &typed)
{
    showSearch(true);
    m_searchField->setFocus(Qt::OtherFocusReason);
    if (typed.isEmpty())
        m_searchField->selectAll();
    else
        m_searchField->write(typed);
}

void TopBar::endSearch()
{
    m_searchField->clear();
    if (m_controller->settings()->showsFilter())
        return;
    if (m_searchField->hasFocus() || m_searchButton->hasFocus())
        emit searchLeft();
    showSearch(false);
}

void TopBar::describeSearch(const QString &result)
{
    m_searchField->setAccessibleDescription(result);
}

void TopBar::showSearch(bool shown)
{
    m_searchField->setVisible(shown);
    m_searchButton->setVisible(shown);
}

void TopBar::drag(const QPoint &position)
{
    if (!placesWindows()) {
        // From here on the compositor has the pointer, including the release of the button.
        m_dragging = false;
        if (!window()->isMaximized())
            window()->windowHandle()->startSystemMove();
        return;
    }
    // The window moves by the same distance, so the point under the pointer stays the same.
    const QPoint distance = position - m_pressed;
    m_controller->moveBy(distance.x(), distance.y());
}

void TopBar::addLogo(QHBoxLayout &layout)
{
    auto *logo = new QLabel(this);
    logo->setObjectName(QStringLiteral("StoreLogo"));
    logo->setMaximumHeight(LogoHeight);
    logo->setPixmap(Components::scaledToHeight(QPixmap(QStringLiteral(":/resources/img/store.png")),
                                               LogoHeight, devicePixelRatioF(),
                                               Qt::SmoothTransformation));
    layout.addWidget(logo);
}

void TopBar::addRepositoryLabel(QHBoxLayout &layout)
{
    if (!m_controller->settings()->usesLocalRepository())
        return;
    auto *label = new QLabel(tr("[Local Repository]"), this);
    label->setObjectName(QStringLiteral("RepoLabel"));
    layout.addWidget(label);
    layout.addStretch(1);
}

void TopBar::addLauncher(QHBoxLayout &layout)
{
    QPushButton *button =
        Components::makeButton(QStringLiteral("XPlaneButton"), tr("Run X-Plane"),
                               Components::iconFont()->icon(Components::Glyph::Plane), this);
    connect(button, &QPushButton::clicked, this, &TopBar::runSimulator);
    layout.addWidget(button);
}

void TopBar::addSearch(QHBoxLayout &layout)
{
    m_searchField = new SearchField(this);
    m_searchField->setPlaceholderText(tr("eg. Jetways"));
    m_searchField->setAccessibleName(tr("Search"));
    connect(m_searchField, &SearchField::textChanged, this, &TopBar::searched);
    connect(m_searchField, &SearchField::returnPressed, this, &TopBar::searchConfirmed);
    connect(m_searchField, &SearchField::cancelled, this, &TopBar::endSearch);
    layout.addWidget(m_searchField);
    m_searchButton = makeBarButton(Components::Glyph::Search, tr("Search"));
    connect(m_searchButton, &QPushButton::clicked, this, &TopBar::searchConfirmed);
    layout.addWidget(m_searchButton);
    addSearchKeys();
}

/// The shortcuts belong to the bar, so that they work while field and button are hidden.
void TopBar::addSearchKeys()
{
    auto *action = new QAction(this);
    action->setShortcuts(searchKeys());
    connect(action, &QAction::triggered, this, [this] { beginSearch(); });
    addAction(action);
    Components::nameKeys(*m_searchButton, {searchKeys().first()});
}

void TopBar::addButtons(QHBoxLayout &layout)
{
    m_refreshButton = makeBarButton(Components::Glyph::Refresh, tr("Refresh"));
    m_refreshButton->setToolTip(tr("Refresh"));
    connect(m_refreshButton, &QPushButton::clicked, m_controller.data(),
            &TopbarController::refresh);
    Components::giveKeys(*m_refreshButton, {Qt::Key_F5, int(Qt::CTRL) + Qt::Key_R});
    layout.addWidget(m_refreshButton);

    QPushButton *settingsButton = makeBarButton(Components::Glyph::Gear, tr("Settings"));
    connect(settingsButton, &QPushButton::clicked, this, &TopBar::openSettings);
    Components::giveKeys(*settingsButton, {int(Qt::CTRL) + Qt::Key_Comma});
    layout.addWidget(settingsButton);

    // Set apart, because it looks like the other buttons but deletes everything.
    layout.addSpacing(ResetGap);
    QPushButton *resetButton = makeBarButton(Components::Glyph::Undo, tr("Reset"));
    resetButton->setToolTip(tr("Reset"));
    connect(resetButton, &QPushButton::clicked, this, &TopBar::askForReset);
    layout.addWidget(resetButton);
}

void TopBar::addWindowControl(QHBoxLayout &layout)
{
    auto *control = new WindowControl(this);
    TopbarController *controller = m_controller.data();
    connect(control, &WindowControl::minimize, controller, &TopbarController::minimize);
    connect(control, &WindowControl::maximize, controller, &TopbarController::maximize);
    connect(control, &WindowControl::restore, controller, &TopbarController::restore);
    connect(control, &WindowControl::close, controller, &TopbarController::exit);
    layout.addWidget(control);
}

QPushButton *TopBar::makeBarButton(int glyph, const QString &description)
{
    return Components::makeIconButton(QStringLiteral("TopButton"), description,
                                      Components::iconFont()->icon(glyph), this);
}

void TopBar::runSimulator()
{
    const QString folder = m_controller->settings()->current(Settings::INSTALLATION);
    // Fixed, see docs/compatibility.md.
    QProcess::startDetached(folder + QDir::separator() + simulatorExecutable(), {}, folder);
}

void TopBar::openSettings()
{
    const QPointer<TopBar> self(this);
    Dialogs::SettingsDialog dialog(m_controller->packageController(), m_controller->settings(),
                                   this);
    if (dialog.exec() == QDialog::Accepted && self)
        m_controller->refresh();
}

void TopBar::askForReset()
{
    const QPointer<TopBar> self(this);
    const bool confirmed = Dialogs::confirmLoss(
        this, QMessageBox::Critical, tr("Reset"),
        // Fixed, see docs/compatibility.md.
        tr("This action will reset databases and application prefrences.\n\nContinue?"));
    if (!confirmed || !self)
        return;
    m_controller->reset();
    QCoreApplication::quit();
}

} // namespace Kavo::Ui
