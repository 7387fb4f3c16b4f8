#pragma once

#include <QMap>
#include <QObject>
#include <QPixmap>
#include <QQueue>
#include <QString>

class QWidget;

namespace Kavo::Testing {

/// Keeps pictures of what the program shows, when the environment variable KAVO_WALK_PICTURES names
/// a folder for them: "01-start.png" and so on. The first splash screen, message boxes and file
/// dialogs are taken by themselves. Without the variable it does nothing.
class WalkPictures final : public QObject
{
    Q_OBJECT

public:
    WalkPictures();
    ~WalkPictures() override;

    /// A picture that cannot be kept at once is kept with one of the next.
    void take(QWidget &widget, const QString &name);
    /// What a further box is about. One with an empty name is not taken.
    void nameBox(const QString &name) { m_boxNames.enqueue(name); }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void keepAll();

    QString m_folder;
    QQueue<QString> m_boxNames;
    int m_count = 0;
    bool m_sawStart = false;
    QMap<QString, QPixmap> m_unkept; ///< by their files
};

} // namespace Kavo::Testing
