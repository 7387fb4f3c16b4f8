#pragma once

#include "benchmarks/MeasuredEngine.h"

#include <QObject>
#include <QSet>

#include <memory>

class QTcpServer;
class QWidget;

namespace Kavo::Components {
class WidgetList;
}

namespace Kavo::Benchmarks {

/// The package list in a visible window of the program's size, with the program's fonts and style
/// sheet. By default the cards request their icons from a server that never responds.
class CardWindow final : public QObject
{
    Q_OBJECT

public:
    /// The costs of one refresh, counted from the controller's `update` signal. Times are in
    /// microseconds; memory is the growth of the resident size in KiB.
    struct Filling
    {
        qint64 firstScreen = 0;   ///< until each visible card has been painted
        qint64 processorTime = 0; ///< until all cards exist
        qint64 longestHold = 0;   ///< longest time for which the event loop was blocked until then
        qint64 refreshHold = 0;   ///< the same, counted from the call of refresh()
        qint64 memory = 0;        ///< growth until all cards exist
    };

    CardWindow(const QString &workFolder, const QString &address);
    ~CardWindow() override;

    /// Fetches a catalogue with this many packages and returns when all cards exist. Existing cards
    /// are replaced, which takes longer than filling an empty list.
    Filling fill(int packages);
    /// The same, with icons and archives from this server.
    Filling fillFrom(const QString &server, int packages);
    /// Fetches an empty catalogue and returns when the last card was deleted.
    void empty();

    Components::WidgetList &list() const;
    MeasuredEngine &engine() { return m_engine; }
    QWidget &window() const { return *m_window; }
    /// Whether there are visible cards and each of them shows its icon.
    bool showsIconsInSight() const;
    /// Microseconds since the controller's last `update` signal.
    qint64 sinceUpdate() const;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void noteStart();
    bool isFirstScreenPainted() const;

    MeasuredEngine m_engine;
    std::unique_ptr<QTcpServer> m_silence;
    std::unique_ptr<QWidget> m_window;
    QSet<const QObject *> m_painted;
    Filling m_filling;
    qint64 m_start = 0;
    qint64 m_processorStart = 0;
    qint64 m_memoryStart = 0;
};

} // namespace Kavo::Benchmarks
