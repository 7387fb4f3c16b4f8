#pragma once

#include <QColor>
#include <QLabel>

namespace Kavo::Ui {

/// A caption and behind it a word in a light colour of its own, which stands on a dark ground as
/// large as the word. Both are on one line.
class PriceLabel final : public QLabel
{
    Q_OBJECT
    /// What the word stands on; the style sheet sets it.
    Q_PROPERTY(QColor ground READ ground WRITE setGround)

public:
    /// The caption is plain text.
    explicit PriceLabel(const QString &caption, QWidget *parent = nullptr);

    /// The label's text becomes the rich text that says the same.
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
