#pragma once

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <QStringList>

namespace Kavo::Extractors {

/// A run of the 7-Zip command-line program on the thread that owns the object. The program has a
/// session of its own, so that it cannot wait for answers at a terminal, and ends together with the
/// thread that started it, not before it when the session ends. Names are UTF-8 to it, whatever the
/// locale is.
class SevenZipProcess final : public QProcess
{
    Q_OBJECT

public:
    /// Where `program` does not exist, every run fails.
    explicit SevenZipProcess(const QString &program, QObject *parent = nullptr);

    /// Starts the program and gives it `input`, followed by the end of input. Returns whether it
    /// was started.
    bool begin(const QStringList &arguments, const QByteArray &input = QByteArray());

    /// Whether the name means this file alone: 7-Zip unpacks every archive that it finds in a
    /// folder or that a pattern matches.
    static bool namesOneFile(const QString &archive);
    /// Whether the name of a file may stand for several.
    static bool isPattern(const QString &name);

protected:
    void setupChildProcess() override;
};

} // namespace Kavo::Extractors
