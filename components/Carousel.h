#pragma once

#include "components/StyledWidget.h"

#include <QPixmap>
#include <QSharedPointer>
#include <QStringList>
#include <QVector>

class QLabel;
class QPushButton;

namespace Kavo::Managers {
class DownloadManager;
}

namespace Kavo::Models {
class Download;
}

namespace Kavo::Components {

/// Shows one picture of a list of addresses, with a button on each side. A picture is fetched when
/// it is shown for the first time, and kept until the list changes.
class Carousel final : public StyledWidget
{
    Q_OBJECT

public:
    explicit Carousel(const QSharedPointer<Managers::DownloadManager> &downloads,
                      QWidget *parent = nullptr);

    /// Replaces the list and shows its first picture. An empty list leaves the present picture on
    /// screen. The buttons are visible if there is more than one picture.
    void setImages(const QStringList &urls);

    /// Shows the picture at an index; both ends wrap around.
    void showImage(int index);

protected:
    void resizeEvent(QResizeEvent *event) override;

private:
    QPushButton *makeArrow(const QString &objectName, int glyph, const QString &description);
    void fetch(int index);
    void onLoaded(Models::Download &download, int index, const QString &path);
    void onFailed(Models::Download &download, int index);
    void clear();
    void display();

    QLabel *m_label;
    QPushButton *m_previous;
    QPushButton *m_next;
    int m_current = 0;
    QStringList m_urls;
    QVector<QPixmap> m_pictures;
    QSharedPointer<Managers::DownloadManager> m_downloads;
    /// Context of the transfers for the present list; pictures for an earlier list are ignored.
    QScopedPointer<QObject> m_fetches;
};

} // namespace Kavo::Components
