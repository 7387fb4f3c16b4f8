#pragma once

#include "components/StyledWidget.h"

class QLabel;

namespace Kavo::Ui {

/// The panel that shows a running operation, an empty result or an error.
class PackageProcessingWidget final : public Components::StyledWidget
{
    Q_OBJECT

public:
    /// Fixed, see docs/compatibility.md.
    static constexpr int BusyMode = 0;   ///< the animation
    static constexpr int EmptyMode = 1;  ///< "No items found"
    static constexpr int HiddenMode = 2; ///< nothing at all
    static constexpr int ErrorMode = 3;  ///< the text of the last error

    explicit PackageProcessingWidget(QWidget *parent = nullptr);

    /// Ignores any other number.
    void setMode(int mode);
    void setError(const QString &message);

private:
    QLabel *m_animation;
    QLabel *m_drawing;
    QLabel *m_message;
};

} // namespace Kavo::Ui
