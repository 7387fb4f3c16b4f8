#pragma once

#include <QMap>
#include <QObject>
#include <QPixmap>
#include <QString>

class QWidget;

namespace Kavo::Testing {

/// Keeps pictures of what the program shows, when the environment variable KAVO_WALK_PICTURES names
/// a folder for them: "01-list.png" and so on. Message boxes and file dialogs are taken by
/// themselves, under the name that was given last. Without the variable it does nothing.
class WalkPictures final : public QObject
{
    Q_OBJECT

public:
    WalkPictures();
    ~WalkPictures() override;

    /// A picture that cannot be kept at once is kept with one of the next.
    void take(QWidget &widget, const QString &name);
    /// What the next boxes are about.
    void nameBoxes(const QString &name) { m_boxName = name; }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void keepAll();

    QString m_folder;
    QString m_boxName;
    int m_count = 0;
    QMap<QString, QPixmap> m_unkept; ///< by their files
};

} // namespace Kavo::Testing
