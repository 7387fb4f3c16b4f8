#pragma once

#include <QProgressBar>

namespace Kavo::Components {

/// A progress bar with a text that screen readers announce as its value and description, and that
/// its tool tip shows.
class ProgressBar final : public QProgressBar
{
    Q_OBJECT

public:
    explicit ProgressBar(QWidget *parent = nullptr);

    /// Sets the plain text; empty for none.
    void tell(const QString &text);
};

} // namespace Kavo::Components
