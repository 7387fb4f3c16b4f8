#pragma once

#include <QColor>
#include <QLabel>

namespace Kavo::Ui {

/// A caption followed by a word in a light colour of its own, on a dark background as large as the
/// word. Both are on one line.
class PriceLabel final : public QLabel
{
    Q_OBJECT
    /// The background of the word; set by the style sheet.
    Q_PROPERTY(QColor ground READ ground WRITE setGround)

public:
    /// The caption is plain text.
    explicit PriceLabel(const QString &caption, QWidget *parent = nullptr);

    /// Sets the word. The label's text becomes equivalent rich text.
    void setWord(const QString &word, const QColor &color);

    QColor ground() const { return m_ground; }
    void setGround(const QColor &ground);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QRect wordArea() const;

    QString m_caption;
    QString m_word;
    QColor m_color;
    QColor m_ground = Qt::transparent;
};

} // namespace Kavo::Ui
