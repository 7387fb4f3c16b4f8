#pragma once

#include <QWidget>

namespace Kavo::Components {

/// Base class of the program's widgets: paints the background of the style sheet, which a plain
/// QWidget subclass does not.
class StyledWidget : public QWidget
{
    Q_OBJECT

public:
    /// The style sheet refers to the widget by its object name.
    explicit StyledWidget(const QString &objectName, QWidget *parent = nullptr);

protected:
    void paintEvent(QPaintEvent *event) override;
};

} // namespace Kavo::Components
