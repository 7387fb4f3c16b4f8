#pragma once

#include <QProgressBar>

namespace Kavo::Components {

/// A progress bar that tells more than a share: a text that screen readers are told as its value
/// and description, and that its tool tip shows.
class ProgressBar final : public QProgressBar
{
    Q_OBJECT

public:
    explicit ProgressBar(QWidget *parent = nullptr);

    /// Plain text; none where there is nothing to tell.
    void tell(const QString &text);
};

} // namespace Kavo::Components
