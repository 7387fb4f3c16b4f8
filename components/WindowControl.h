#pragma once

#include "components/StyledWidget.h"

class QPushButton;

namespace Kavo::Components {

/// The window buttons of the frameless main window. Whether the middle button maximises or restores
/// is remembered for the whole process: there is only one main window.
class WindowControl final : public StyledWidget
{
    Q_OBJECT

public:
    explicit WindowControl(QWidget *parent = nullptr);

    /// What a click on the middle button does.
    void toggle();

signals:
    /// The order is fixed, see docs/compatibility.md.
    void minimize();
    void maximize();
    void restore();
    void close();

private:
    QPushButton *makeWindowButton(const QString &objectName, int glyph, const QString &description);

    QPushButton *m_toggle;
};

} // namespace Kavo::Components
