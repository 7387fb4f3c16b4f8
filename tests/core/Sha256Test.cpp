#include "core/Sha256.h"
#include "tests/support/Files.h"
#include "tests/support/Literals.h"
#include "tests/support/Rows.h"
#include "tests/support/ScratchProfile.h"
#include "tests/support/TestMain.h"

#include <QCryptographicHash>

#include <cstdio>
#include <cstdlib>
#include <sys/stat.h>

using namespace Kavo;
using namespace Kavo::Testing;

/// Computes a checksum when the process ends. It is constructed before main(), so it is destroyed
/// after everything that OpenSSL registered for the end of the process. A worker thread may compute
/// a checksum that late.
class HashAtTheEnd final
{
public:
    ~HashAtTheEnd()
    {
        Sha256 hash;
        hash.add("late", 4);
        if (hash.result() == QCryptographicHash::hash("late", QCryptographicHash::Sha256))
            return;
        std::fputs("FAIL!  : no digest at the end of the process\n", stdout);
        std::fflush(stdout);
        std::_Exit(EXIT_FAILURE);
    }
};

const HashAtTheEnd hashAtTheEnd;

/// Compares the checksums with those of Qt.
class Sha256Test final : public QObject
{
    Q_OBJECT

private slots:
    void piecesMakeTheDigestOfTheWhole();
    void fileIsHashedToItsEnd_data();
    void fileIsHashedToItsEnd();
    void whatCannotBeReadHasNoDigest();
};

void Sha256Test::piecesMakeTheDigestOfTheWhole()
{
    const QByteArray content("0123456789abcdef\0xyz", 20);
    Sha256 hash;
    for (int start = 0; start < content.size(); start += 3)
        hash.add(content.constData() + start, qMin(3, content.size() - start));
    QCOMPARE(hash.result(), QCryptographicHash::hash(content, QCryptographicHash::Sha256));
    // An empty input has a digest as well, but each object has only one.
    QCOMPARE(Sha256().result().toHex(),
             QCryptographicHash::hash({}, QCryptographicHash::Sha256).toHex());
    QCOMPARE(hash.result(), QByteArray());
}

void Sha256Test::fileIsHashedToItsEnd_data()
{
    Rows<int> rows;
    for (const int size : {0, 1, 256 * 1024 - 1, 256 * 1024, 256 * 1024 + 1, 1000000})
        rows.row(QByteArray::number(size), size);
}

void Sha256Test::fileIsHashedToItsEnd()
{
    const auto [size] = Rows<int>::current();
    const ScratchProfile profile;
    const QString path = profile.folder(QString()) + "file"_s;
    const QByteArray content = QByteArray(size / 2, 'a') + QByteArray(size - size / 2, 'b');
    QVERIFY(writeFile(path, content));
    QCOMPARE(Sha256::ofFile(path), QCryptographicHash::hash(content, QCryptographicHash::Sha256));
}

void Sha256Test::whatCannotBeReadHasNoDigest()
{
    const ScratchProfile profile;
    QCOMPARE(Sha256::ofFile(profile.folder(QString()) + "missing"_s), QByteArray());
    QCOMPARE(Sha256::ofFile(profile.folder("folder"_s)), QByteArray());
    // Opening it would block until something is written.
    const QString pipe = profile.folder(QString()) + "pipe"_s;
    QCOMPARE(::mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
    QCOMPARE(Sha256::ofFile(pipe), QByteArray());
    // Nothing is mapped at address 0, so this file can be opened but not read.
    QCOMPARE(Sha256::ofFile("/proc/self/mem"_s), QByteArray());
}

KAVO_TEST_MAIN(Sha256Test)
#include "Sha256Test.moc"
