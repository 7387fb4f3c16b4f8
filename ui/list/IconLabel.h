#pragma once

#include <QColor>
#include <QLabel>

namespace Kavo::Ui {

/// The picture of a package. Until it is there, a tile with the first letter of the package's name
/// stands in its place, and an animation below the letter.
class IconLabel final : public QLabel
{
    Q_OBJECT
    /// The tile; the style sheet sets it. The letter has the colour of the label's text.
    Q_PROPERTY(QColor tile READ tile WRITE setTile)

public:
    explicit IconLabel(const QString &name, QWidget *parent = nullptr);

    /// Fills the label with the picture, in place of tile and animation.
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
