#pragma once

#include <QObject>
#include <QSize>
#include <QString>

namespace Kavo::Controllers {

/// Model of the frameless main window: its geometry in pixels, its display state and the style
/// sheet. Widgets request changes here and follow the signals; the model knows no widget.
class ApplicationController final : public QObject
{
    Q_OBJECT

public:
    /// Fixed, see docs/compatibility.md.
    enum State : int {
        NORMAL = 0,
        MAXIMIZED = 1,
        MINIMIZED = 2,
        FULL_SCREEN = 3,
    };

    ApplicationController() = default;

    int width() const { return m_width; }
    int height() const { return m_height; }
    int x() const { return m_x; }
    int y() const { return m_y; }
    State state() const { return m_state; }

    void setWidth(int width) { m_width = width; }
    void setHeight(int height) { m_height = height; }

    /// Moves one edge, kept on the screen; ignored while maximised.
    void setX(int x);
    void setY(int y);
    /// Moves both edges and always announces the geometry.
    void move(int x, int y);

    /// Stores and always announces the state.
    void setState(State state);

    void requestExit();

    /// Loads the style, centres the window on a screen of this size and announces the geometry.
    void setScreenSize(const QSize &size);

    /// Announces the style sheet from the resources. Does nothing if there is none.
    void loadStyle();

signals:
    /// The order is fixed, see docs/compatibility.md.
    void styleChanged(const QString &style);
    /// Never emitted: a new language takes effect at the next start.
    void languageChanged();
    void geometryChanged();
    void stateChanged();
    void exitRequest();

private:
    int m_width = 1320;
    int m_height = 800;
    int m_x = 0;
    int m_y = 0;
    State m_state = NORMAL;
    QSize m_screen = {0, 0};
};

} // namespace Kavo::Controllers
