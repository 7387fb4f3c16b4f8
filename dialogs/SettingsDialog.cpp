#include "dialogs/SettingsDialog.h"

#include "components/Buttons.h"
#include "components/Glyphs.h"
#include "components/IconFont.h"
#include "core/Settings.h"
#include "dialogs/DiskSettingsWidget.h"
#include "dialogs/GeneralSettingsWidget.h"
#include "dialogs/MessageBoxes.h"
#include "dialogs/PathSettingsWidget.h"
#include "packages/PackageController.h"

#include <QCoreApplication>
#include <QHBoxLayout>
#include <QPushButton>
#include <QTabWidget>
#include <QVBoxLayout>

namespace Kavo::Dialogs {

namespace {

constexpr int MinimalWidth = 512;
/// Wide enough for a whole folder path on most machines.
constexpr int PreferredWidth = 720;

} // namespace

SettingsDialog::SettingsDialog(const QSharedPointer<Controllers::PackageController> &packages,
                               const QSharedPointer<Settings> &settings, QWidget *parent)
    : QDialog(parent)
    , m_packages(packages)
    , m_settings(settings)
{
    setObjectName(QStringLiteral("SettingsDialog"));
    setWindowTitle(tr("Settings"));
    setMinimumWidth(MinimalWidth);

    auto *tabs = new QTabWidget(this);
    tabs->setObjectName(QStringLiteral("SettingsTabs"));
    tabs->setAccessibleName(windowTitle());
    tabs->setMovable(false);
    tabs->setTabsClosable(false);
    tabs->addTab(new GeneralSettingsWidget(m_settings, tabs), tr("General"));
    tabs->addTab(new PathSettingsWidget(m_settings, tabs), tr("Paths"));
    tabs->addTab(new DiskSettingsWidget(*m_settings, tabs), tr("Disk Usage"));

    auto *buttons = new QHBoxLayout;
    buttons->setSpacing(8);
    buttons->addStretch();
    QPushButton *ok =
        addButton(*buttons, QStringLiteral("SettingsOk"), tr("Ok"),
                  Components::iconFont()->icon(Components::Glyph::Check), &SettingsDialog::commit);
    // The default button for Return.
    ok->setDefault(true);
    addButton(*buttons, QStringLiteral("SettingsCancel"), tr("Cancel"),
              Components::iconFont()->icon(Components::Glyph::Cross, Components::darkIconOptions()),
              &SettingsDialog::reject);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(16, 16, 16, 16);
    layout->setSpacing(16);
    layout->addWidget(tabs);
    layout->addLayout(buttons);
    resize(PreferredWidth, sizeHint().height());
}

SettingsDialog::~SettingsDialog()
{
    m_settings->revert();
}

void SettingsDialog::reject()
{
    m_settings->revert();
    QDialog::reject();
}

QPushButton *SettingsDialog::addButton(QHBoxLayout &row, const QString &objectName,
                                       const QString &text, const QIcon &icon,
                                       void (SettingsDialog::*action)())
{
    QPushButton *button = Components::makeButton(objectName, text, icon, this);
    connect(button, &QPushButton::clicked, this, action);
    row.addWidget(button);
    return button;
}

void SettingsDialog::commit()
{
    const bool newInstallation =
        m_settings->pending(Settings::INSTALLATION) != m_settings->current(Settings::INSTALLATION);
    const bool newLanguage =
        m_settings->pending(Settings::LANGUAGE) != m_settings->current(Settings::LANGUAGE);
    // The reset for a new folder is kept even if the new language is refused afterwards.
    if (newInstallation && !confirmNewInstallation())
        return;
    if (newLanguage && !confirmNewLanguage())
        return;
    m_settings->commit();
    if (newInstallation || newLanguage)
        quitForRestart();
    else
        accept();
}

bool SettingsDialog::confirmNewInstallation()
{
    const bool confirmed = confirmLoss(this, QMessageBox::Warning, QString(),
                                       tr("X-Plane path has been changed\n\nProceeding will reset "
                                          "cache & databases. Continue ?"));
    if (confirmed)
        m_packages->reset();
    return confirmed;
}

bool SettingsDialog::confirmNewLanguage()
{
    const bool confirmed = confirm(this, QMessageBox::Warning, QString(),
                                   // Fixed, see docs/compatibility.md.
                                   tr("Language has been changed\n\nApplication restart neeeded. "
                                      "Continue ?"));
    if (confirmed)
        m_packages->reset();
    return confirmed;
}

void SettingsDialog::quitForRestart()
{
    showMessage(this, QMessageBox::Information, QString(),
                tr("Application will now close. Restart the application for new setting to take "
                   "effect."));
    QCoreApplication::quit();
    // Rejected, because after acceptance the caller would reload the catalogue and create a new
    // database.
    QDialog::reject();
}

} // namespace Kavo::Dialogs
