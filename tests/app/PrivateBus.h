#pragma once

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <QTemporaryDir>

namespace Kavo::Testing {

/// A message bus of the test's own, in the place of the desktop's as long as the object lives.
/// Starts no service. Main thread.
class PrivateBus final
{
public:
    PrivateBus();
    ~PrivateBus();
    Q_DISABLE_COPY_MOVE(PrivateBus)

    /// Whether it is there.
    bool isReady() const { return !m_address.isEmpty(); }
    QString address() const { return m_address; }
    /// Where its socket lies, by the name that the bus of a user has.
    QString folder() const { return m_folder.path(); }

private:
    QTemporaryDir m_folder;
    QProcess m_daemon;
    QString m_address;
    QByteArray m_addressBefore;
};

} // namespace Kavo::Testing
