#pragma once

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <QStringList>

namespace Kavo::Extractors {

/// One run of the 7-Zip command-line program on the thread that owns the object. The child has its
/// own session, so it cannot wait for input from a terminal. It ends when the thread that started
/// it ends, but not with the desktop session. It always uses UTF-8 for names, whatever the locale
/// is.
class SevenZipProcess final : public QProcess
{
    Q_OBJECT

public:
    /// If `program` does not exist, every run fails.
    explicit SevenZipProcess(const QString &program, QObject *parent = nullptr);

    /// Starts the program and gives it `input`, followed by the end of input. Returns whether it
    /// was started.
    bool begin(const QStringList &arguments, const QByteArray &input = QByteArray());

    /// Whether the name stands for exactly one file. 7-Zip unpacks every archive in a folder and
    /// every archive that matches a pattern.
    static bool namesOneFile(const QString &archive);
    /// Whether 7-Zip would treat the name as a pattern.
    static bool isPattern(const QString &name);

protected:
    void setupChildProcess() override;
};

} // namespace Kavo::Extractors
