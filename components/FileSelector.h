#pragma once

#include "components/StyledWidget.h"

class QLabel;
class QPushButton;

namespace Kavo::Components {

class PathField;

/// A path with a caption and a button to choose another path.
class FileSelector final : public StyledWidget
{
    Q_OBJECT

public:
    /// Fixed, see docs/compatibility.md.
    static constexpr int ChooseFile = 0;
    static constexpr int ChooseFolder = 1;

    /// Any mode except ChooseFile lets the user choose a folder.
    explicit FileSelector(int mode, QWidget *parent = nullptr);

    /// An empty text hides the caption.
    void setLabel(const QString &text);
    /// Shows a path without announcing it.
    void setValue(const QString &text);
    void setMode(int mode) { m_mode = mode; }

signals:
    /// The user has chosen this path, which has no trailing separator.
    void valueChanged(QString value);

private:
    void browse();
    QString choose();

    int m_mode;
    QLabel *m_caption;
    PathField *m_value;
    QPushButton *m_browse;
};

} // namespace Kavo::Components
