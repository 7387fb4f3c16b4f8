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

/// Edits the pending settings and commits or discards them. A new language or simulator folder
/// resets the databases and ends the program. Modal.
///
/// The result is accepted if settings were committed and the program continues with them, otherwise
/// rejected.
class SettingsDialog final : public QDialog
{
    Q_OBJECT

public:
    SettingsDialog(const QSharedPointer<Controllers::PackageController> &packages,
                   const QSharedPointer<Settings> &settings, QWidget *parent = nullptr);

    /// Discards uncommitted edits, for example if the program ends while the dialog is open.
    ~SettingsDialog() override;

    /// Discards the edits; also called for Escape.
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
