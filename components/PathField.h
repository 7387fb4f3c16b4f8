#pragma once

#include <QLineEdit>

namespace Kavo::Components {

/// A read-only path. A path that is too long for the field is elided in the middle; its tool tip
/// and text() have all of it.
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
