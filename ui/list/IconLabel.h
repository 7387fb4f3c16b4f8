#pragma once

#include <QColor>
#include <QLabel>

namespace Kavo::Ui {

/// The icon of a package. Until it is loaded, the label shows a tile with the first letter of the
/// package's name and an animation below the letter.
class IconLabel final : public QLabel
{
    Q_OBJECT
    /// The colour of the tile; set by the style sheet. The letter has the label's text colour.
    Q_PROPERTY(QColor tile READ tile WRITE setTile)

public:
    explicit IconLabel(const QString &name, QWidget *parent = nullptr);

    /// Shows the picture instead of the tile and the animation.
    void showPicture(const QPixmap &picture);

    QColor tile() const { return m_tile; }
    void setTile(const QColor &tile);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    void paintTile();

    QString m_letter;
    QColor m_tile = Qt::transparent;
    bool m_waits = true;
};

} // namespace Kavo::Ui
