#include "tests/app/WalkPictures.h"

#include <QApplication>
#include <QDir>
#include <QEvent>
#include <QFileDialog>
#include <QMessageBox>
#include <QPixmap>
#include <QTimer>

namespace Kavo::Testing {

WalkPictures::WalkPictures() : m_folder(qEnvironmentVariable("KAVO_WALK_PICTURES"))
{
    if (m_folder.isEmpty())
        return;
    QDir().mkpath(m_folder);
    qApp->installEventFilter(this);
}

WalkPictures::~WalkPictures()
{
    qApp->removeEventFilter(this);
}

void WalkPictures::take(QWidget &widget, const QString &name)
{
    if (m_folder.isEmpty())
        return;
    // A change of what is shown is laid out only when the event loop runs again.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
    const QString file = QStringLiteral("%1-%2.png").arg(++m_count, 2, 10, QLatin1Char('0'));
    if (!widget.grab().save(QDir(m_folder).filePath(file.arg(name))))
        qWarning("No picture of %s could be kept", qUtf8Printable(name));
}

bool WalkPictures::eventFilter(QObject *watched, QEvent *event)
{
    const bool isBox = qobject_cast<QMessageBox *>(watched) || qobject_cast<QFileDialog *>(watched);
    if (isBox && event->type() == QEvent::Show) {
        // Its size is settled when the event is over, and whoever answers it comes later still.
        auto *box = static_cast<QWidget *>(watched);
        QTimer::singleShot(0, box, [this, box, name = m_boxName] { take(*box, name); });
    }
    return QObject::eventFilter(watched, event);
}

} // namespace Kavo::Testing
