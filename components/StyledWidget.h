#pragma once

#include <QWidget>

namespace Kavo::Components {

/// Base of all our own widgets: paints the background that the style sheet gives it, which a plain
/// QWidget subclass does not.
class StyledWidget : public QWidget
{
    Q_OBJECT

public:
    /// The object name is what the style sheet knows the widget by.
    explicit StyledWidget(const QString &objectName, QWidget *parent = nullptr);

protected:
    void paintEvent(QPaintEvent *event) override;
};

} // namespace Kavo::Components
