#pragma once

#include <QTabWidget>

namespace Kavo::Ui {

/// Tabs that are as high as the page that is shown, which is a scroll area or a list of widgets.
/// Its content then has nothing to scroll, unless there is more of it than fits the window.
class FittingTabs final : public QTabWidget
{
    Q_OBJECT

public:
    explicit FittingTabs(QWidget *parent = nullptr);

    /// What lies in a page has changed.
    void fit();
    /// The most that a page gets, in pixels.
    void setLargestPage(int height);

    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;

private:
    QSize framed(const QSize &page) const;
    int contentHeight(int width) const;

    int m_largestPage = QWIDGETSIZE_MAX;
};

} // namespace Kavo::Ui
