#pragma once

#include <QTabWidget>

namespace Kavo::Ui {

/// Tabs that are as high as the current page, which is a scroll area or a list of widgets. Its
/// content does not scroll unless it is larger than the maximum height.
class FittingTabs final : public QTabWidget
{
    Q_OBJECT

public:
    explicit FittingTabs(QWidget *parent = nullptr);

    /// To be called when the content of a page has changed.
    void fit();
    /// The maximum height of a page in pixels.
    void setLargestPage(int height);

    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;

private:
    QSize framed(const QSize &page) const;
    int contentHeight(int width) const;

    int m_largestPage = QWIDGETSIZE_MAX;
};

} // namespace Kavo::Ui
