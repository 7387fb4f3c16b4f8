#include "tests/app/WalkPictures.h"
#include "tests/support/Literals.h"

#include <QApplication>
#include <QDir>
#include <QEvent>
#include <QFileDialog>
#include <QMessageBox>
#include <QSplashScreen>
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
    keepAll();
    for (auto each = m_unkept.cbegin(); each != m_unkept.cend(); ++each)
        qWarning("The picture %s could not be saved", qUtf8Printable(each.key()));
}

void WalkPictures::take(QWidget &widget, const QString &name)
{
    if (m_folder.isEmpty())
        return;
    // Layouts are usually updated only when the event loop runs again.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
    const QString file = "%1-%2.png"_s.arg(++m_count, 2, 10, QLatin1Char('0'));
    m_unkept.insert(QDir(m_folder).filePath(file.arg(name)), widget.grab());
    keepAll();
}

void WalkPictures::keepAll()
{
    for (auto each = m_unkept.begin(); each != m_unkept.end();)
        each = each->save(each.key()) ? m_unkept.erase(each) : each + 1;
}

bool WalkPictures::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() != QEvent::Show)
        return QObject::eventFilter(watched, event);
    if (auto *splash = qobject_cast<QSplashScreen *>(watched)) {
        connect(splash, &QSplashScreen::messageChanged, this, [this, splash] {
            if (!m_sawStart)
                take(*splash, "start"_s);
            m_sawStart = true;
        });
    } else if (qobject_cast<QMessageBox *>(watched) || qobject_cast<QFileDialog *>(watched)) {
        const QString name = m_boxNames.isEmpty() ? "box-unexpected"_s : m_boxNames.dequeue();
        // The size of the box is final only after this event. The box is answered even later.
        auto *box = static_cast<QWidget *>(watched);
        if (!name.isEmpty())
            QTimer::singleShot(0, box, [this, box, name] { take(*box, name); });
    }
    return QObject::eventFilter(watched, event);
}

} // namespace Kavo::Testing
