#pragma once

#include "components/StyledWidget.h"

class QPushButton;

namespace Kavo::Ui {

/// One row of the list of versions: the version and a button.
class PackageDetailOldVersionWidget final : public Components::StyledWidget
{
    Q_OBJECT

public:
    explicit PackageDetailOldVersionWidget(const QString &version, QWidget *parent = nullptr);

    void setButtonText(const QString &text);
    void setButtonIcon(const QIcon &icon);

signals:
    void buttonClicked();

private:
    QPushButton *m_button;
    QString m_version;
};

} // namespace Kavo::Ui
