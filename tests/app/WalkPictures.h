#pragma once

#include <QMap>
#include <QObject>
#include <QPixmap>
#include <QQueue>
#include <QString>

class QWidget;

namespace Kavo::Testing {

/// Saves pictures of the program's windows in the folder that the environment variable
/// KAVO_WALK_PICTURES names: "01-start.png" and so on. Pictures of the first splash screen, message
/// boxes and file dialogs are taken automatically. Without the variable this class does nothing.
class WalkPictures final : public QObject
{
    Q_OBJECT

public:
    WalkPictures();
    ~WalkPictures() override;

    /// Takes a picture. If it cannot be saved, later calls try again.
    void take(QWidget &widget, const QString &name);
    /// Sets the name for the picture of a further box, in the order of the boxes. With an empty
    /// name no picture is taken.
    void nameBox(const QString &name) { m_boxNames.enqueue(name); }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void keepAll();

    QString m_folder;
    QQueue<QString> m_boxNames;
    int m_count = 0;
    bool m_sawStart = false;
    QMap<QString, QPixmap> m_unkept; ///< by path
};

} // namespace Kavo::Testing
