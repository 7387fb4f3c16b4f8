#pragma once

#include "components/StyledWidget.h"
#include "packages/model/Package.h"

#include <QScopedPointer>
#include <QSharedPointer>
#include <QWeakPointer>

class QHBoxLayout;
class QLabel;
class QPushButton;
class QVBoxLayout;

namespace Kavo::Components {
class ProgressBar;
}

namespace Kavo::Controllers {
class PackageController;
}

namespace Kavo::Models {
class Download;
}

namespace Kavo::Ui {

class IconLabel;
class PriceLabel;
class ProgressFollower;
class StateLook;

/// The card of one package in the list. It shows the package's state and progress and fetches its
/// icon, with priority while the card is visible.
class PackageWidget final : public Components::StyledWidget
{
    Q_OBJECT

public:
    PackageWidget(const QSharedPointer<Controllers::PackageController> &controller,
                  const Models::PackagePointer &package, QWidget *parent = nullptr);
    ~PackageWidget() override;

    /// The text for the price.
    static QString priceText(const Models::Package &package);

    int packageId() const { return m_package->id(); }
    /// Stops following the package: a new card replaces this one, which waits to be deleted.
    void retire();
    /// Puts this card after another one in the tab order.
    void followInTabOrder(const PackageWidget &card);
    /// Sets the focus to the button that opens the package.
    void focusDetailButton();

protected:
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    void buildIcon(QHBoxLayout &layout);
    void buildTexts(QHBoxLayout &layout);
    QLabel *addLabel(QHBoxLayout &row, const QString &objectName, const QString &text);
    void buildProgress(QVBoxLayout &column);
    void showUnmeasuredProgress();
    void buildButtons(QHBoxLayout &layout);
    void followPackage();
    void followProgress(bool busy);
    void showRunningDownload();

    void onStateChanged(Models::Package::State state);
    void showState(Models::Package::State state);
    bool isInShownList() const;
    void applyLook(const StateLook &look);
    void refreshLabels();
    void setTotalSize(qint64 size);
    void setDownloadedSize(qint64 size);

    void fetchIcon();
    void preferIcon(bool preferred);
    void showIcon(Models::Download &download, const QString &path);

    QSharedPointer<Controllers::PackageController> m_controller;
    Models::PackagePointer m_package;
    QWeakPointer<Models::Download> m_iconFetch;
    IconLabel *m_icon = nullptr;
    QLabel *m_installed = nullptr;
    QLabel *m_available = nullptr;
    PriceLabel *m_status = nullptr;
    Components::ProgressBar *m_progress = nullptr;
    bool m_isRetired = false;
    QScopedPointer<ProgressFollower> m_follower; ///< while the package is busy
    QPushButton *m_action = nullptr;
    QPushButton *m_detail = nullptr;
};

} // namespace Kavo::Ui
