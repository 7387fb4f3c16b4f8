#pragma once

#include <QLineEdit>

namespace Kavo::Components {

/// A path that is shown, not edited. One that is too long for the field loses its middle, which
/// tells least; the tool tip has all of it, and so has text().
class PathField final : public QLineEdit
{
    Q_OBJECT

public:
    explicit PathField(QWidget *parent = nullptr);

    void setPath(const QString &path);

protected:
    void paintEvent(QPaintEvent *event) override;
};

} // namespace Kavo::Components
