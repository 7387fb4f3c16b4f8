#include "components/Carousel.h"

#include "components/Buttons.h"
#include "components/Glyphs.h"
#include "components/IconFont.h"
#include "components/LoadingAnimation.h"
#include "components/Picture.h"
#include "downloads/DownloadManager.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>

namespace Kavo::Components {

using Models::Download;

namespace {

constexpr int PictureHeight = 176;
constexpr QSize ButtonIcon(56, 56);
constexpr QSize AnimationSize(24, 24);
constexpr QSize LargestPicture(2560, 1440);

} // namespace

Carousel::Carousel(const QSharedPointer<Managers::DownloadManager> &downloads, QWidget *parent)
    : StyledWidget(QStringLiteral("Carousel"), parent)
    , m_label(new QLabel(this))
    , m_downloads(downloads)
    , m_fetches(new QObject)
{
    m_previous =
        makeArrow(QStringLiteral("CarouselPrevious"), Glyph::ChevronLeft, tr("Previous picture"));
    m_next = makeArrow(QStringLiteral("CarouselNext"), Glyph::ChevronRight, tr("Next picture"));
    connect(m_previous, &QPushButton::clicked, this, [this] { showImage(m_current - 1); });
    connect(m_next, &QPushButton::clicked, this, [this] { showImage(m_current + 1); });

    m_label->setObjectName(QStringLiteral("CarouselImage"));
    m_label->setAttribute(Qt::WA_TranslucentBackground);
    m_label->setAlignment(Qt::AlignCenter);
    m_label->setMinimumHeight(PictureHeight);
    // A wide picture must not widen the page; it is scaled to the available space.
    m_label->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);

    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(8, 8, 8, 8);
    layout->addWidget(m_previous);
    layout->addWidget(m_label, 1);
    layout->addWidget(m_next);
}

void Carousel::setImages(const QStringList &urls)
{
    m_fetches.reset(new QObject);
    m_urls = urls;
    m_pictures = QVector<QPixmap>(urls.size());
    m_previous->setVisible(urls.size() > 1);
    m_next->setVisible(urls.size() > 1);
    if (!urls.isEmpty())
        showImage(0);
}

void Carousel::showImage(int index)
{
    if (m_urls.isEmpty())
        return;
    if (index < 0)
        m_current = m_urls.size() - 1;
    else
        m_current = index < m_urls.size() ? index : 0;
    m_label->setAccessibleName(tr("Picture %1 of %2").arg(m_current + 1).arg(m_urls.size()));
    if (m_pictures.at(m_current).isNull())
        fetch(m_current);
    else
        display();
}

void Carousel::resizeEvent(QResizeEvent *event)
{
    StyledWidget::resizeEvent(event);
    if (!m_pictures.value(m_current).isNull())
        display();
}

QPushButton *Carousel::makeArrow(const QString &objectName, int glyph, const QString &description)
{
    QPushButton *button = makeIconButton(objectName, description, iconFont()->icon(glyph), this);
    button->setIconSize(ButtonIcon);
    return button;
}

void Carousel::fetch(int index)
{
    const QString url = m_urls.at(index);
    if (url.isEmpty() || !m_downloads) {
        clear();
        return;
    }
    LoadingAnimation::play(*m_label, AnimationSize);
    const auto download = QSharedPointer<Download>::create(url, true, true);
    connect(download.data(), &Download::finished, m_fetches.data(),
            [this, source = download.data(), index](const QString &path) {
                onLoaded(*source, index, path);
            });
    connect(download.data(), &Download::error, m_fetches.data(),
            [this, source = download.data(), index] { onFailed(*source, index); });
    m_downloads->add(download, false);
}

void Carousel::onLoaded(Download &download, int index, const QString &path)
{
    disconnect(&download, nullptr, m_fetches.data(), nullptr);
    m_pictures[index] = loadPicture(path, LargestPicture);
    if (m_current != index)
        return;
    // Otherwise a broken picture would be fetched again and again.
    if (m_pictures.at(index).isNull())
        clear();
    else
        display();
}

void Carousel::onFailed(Download &download, int index)
{
    // After an error the transfer ends without a picture.
    disconnect(&download, nullptr, m_fetches.data(), nullptr);
    if (m_current == index && m_pictures.at(index).isNull())
        clear();
}

void Carousel::clear()
{
    LoadingAnimation::stop(*m_label);
    m_label->clear();
}

void Carousel::display()
{
    clear();
    const qreal ratio = devicePixelRatioF();
    const int width = qMax(1, qRound(m_label->width() * ratio));
    QPixmap picture = scaledToHeight(m_pictures.at(m_current), m_label->height(), ratio);
    if (picture.width() > width) {
        picture = m_pictures.at(m_current).scaledToWidth(width);
        picture.setDevicePixelRatio(ratio);
    }
    m_label->setPixmap(picture);
}

} // namespace Kavo::Components
