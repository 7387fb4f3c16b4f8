#pragma once

#include <QDialog>
#include <QSharedPointer>

class QHBoxLayout;
class QIcon;
class QPushButton;

namespace Kavo {
class Settings;
}

namespace Kavo::Controllers {
class PackageController;
}

namespace Kavo::Dialogs {

/// Edits the pending settings and commits or drops them. Another language or simulator folder has
/// the databases reset and ends the program. Run it modally.
///
/// Ends accepted when settings were committed and the program goes on with them, otherwise
/// rejected.
class SettingsDialog final : public QDialog
{
    Q_OBJECT

public:
    SettingsDialog(const QSharedPointer<Controllers::PackageController> &packages,
                   const QSharedPointer<Settings> &settings, QWidget *parent = nullptr);

    /// Drops the edits that were not committed, as when the program ends around the dialog.
    ~SettingsDialog() override;

    /// Drops the edits; also what Escape does.
    void reject() override;

private:
    QPushButton *addButton(QHBoxLayout &row, const QString &objectName, const QString &text,
                           const QIcon &icon, void (SettingsDialog::*action)());
    void commit();
    bool confirmNewInstallation();
    bool confirmNewLanguage();
    void quitForRestart();

    QSharedPointer<Controllers::PackageController> m_packages;
    QSharedPointer<Settings> m_settings;
};

} // namespace Kavo::Dialogs
