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

/// The package list in a shown window of the program's size, with the program's fonts and style
/// sheet. By default the cards request their icons from a server that never answers.
class CardWindow final : public QObject
{
    Q_OBJECT

public:
    /// The costs of one refresh, counted from the controller's `update` signal. Times are in
    /// microseconds; memory is the growth of the resident size in KiB.
    struct Filling
    {
        qint64 firstScreen = 0;   ///< until every card that is to be seen has been painted
        qint64 processorTime = 0; ///< until all cards are there
        qint64 longestHold = 0;   ///< of the event loop, until all cards are there
        qint64 refreshHold = 0;   ///< the same from the order to refresh on
        qint64 memory = 0;        ///< when all cards are there
    };

    CardWindow(const QString &workFolder, const QString &address);
    ~CardWindow() override;

    /// Fetches a catalogue with this many packages and returns when all cards exist. The cards of
    /// the catalogue before are replaced, which takes longer than filling an empty list.
    Filling fill(int packages);
    /// The same, with icons and archives from this server.
    Filling fillFrom(const QString &server, int packages);
    /// Fetches an empty catalogue and returns when the last card is deleted.
    void empty();

    Components::WidgetList &list() const;
    MeasuredEngine &engine() { return m_engine; }
    QWidget &window() const { return *m_window; }
    /// Whether cards are visible and each of them shows its icon.
    bool showsIconsInSight() const;
    /// Microseconds since the last `update`.
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
