#pragma once

#include "components/StyledWidget.h"

class QPushButton;

namespace Kavo::Components {

/// The window buttons of the frameless main window. The state of the middle button is shared by all
/// objects of this class, since there is only one main window.
class WindowControl final : public StyledWidget
{
    Q_OBJECT

public:
    explicit WindowControl(QWidget *parent = nullptr);

    /// The action of the middle button.
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
