#include "core/ArchiveListingReader.h"
#include "tests/support/Literals.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"

using namespace Kavo::Testing;
using namespace Kavo::Extractors;
using Kind = ArchiveEntry::Kind;

Q_DECLARE_METATYPE(ArchiveEntry::Kind)

/// Tests reading the text that 7-Zip prints about an archive.
class ArchiveListingReaderTest final : public QObject
{
    Q_OBJECT

private slots:
    void entriesAreInTheOrderOfTheArchive();
    void piecesMakeTheSameListing();
    void kindFollowsFromTheAttributes_data();
    void kindFollowsFromTheAttributes();
    void targetsAreRead_data();
    void targetsAreRead();
    void formatsWithoutAnIndexAreStreams_data();
    void formatsWithoutAnIndexAreStreams();
    void emptyArchiveHasNoEntries();
    void entryWithoutAPathCounts();
    void encryptionShows();
    void passwordQuestionShows();
    void commentOfTheArchiveHidesNoEntry();
    void propertyThatComesTwiceIsNotTrusted();
    void endlessLineIsNotTrusted();

private:
    static std::optional<ArchiveListing> read(const QByteArray &text);
    /// The entry that is read from the listing of an archive with only this entry.
    static ArchiveEntry only(const QByteArray &properties);
};

std::optional<ArchiveListing> ArchiveListingReaderTest::read(const QByteArray &text)
{
    ArchiveListingReader reader;
    reader.read(text);
    return reader.result();
}

ArchiveEntry ArchiveListingReaderTest::only(const QByteArray &properties)
{
    const auto listing = read("--\nType = zip\n\n----------\n" + properties + "\n");
    return listing && listing->entries.size() == 1 ? listing->entries.first() : ArchiveEntry();
}

const QByteArray TwoFiles = "--\nPath = x.zip\nType = zip\nPhysical Size = 3\n\n----------\n"
                            "Path = a/b \xc3\xa4.txt\nFolder = -\nSize = 12\nEncrypted = -\n\n"
                            "Path = c = d\nFolder = -\nSize = 9000000000\nComment = \n\n\n";

void ArchiveListingReaderTest::entriesAreInTheOrderOfTheArchive()
{
    const auto listing = read(TwoFiles);
    QVERIFY(listing);
    QCOMPARE(listing->entries.size(), 2);
    QCOMPARE(listing->entries.at(0).path, "a/b \xc3\xa4.txt"_s);
    QCOMPARE(listing->entries.at(0).size, 12LL);
    QVERIFY(listing->entries.at(0).kind == Kind::FILE);
    QCOMPARE(listing->entries.at(1).path, "c = d"_s);
    QCOMPARE(listing->entries.at(1).size, 9000000000LL);
    QVERIFY(!listing->isStream);
}

void ArchiveListingReaderTest::piecesMakeTheSameListing()
{
    for (int length = 1; length < 40; ++length) {
        ArchiveListingReader reader;
        for (int start = 0; start < TwoFiles.size(); start += length)
            reader.read(TwoFiles.mid(start, length));
        const auto listing = reader.result();
        QVERIFY(listing);
        QCOMPARE(listing->entries.size(), 2);
        QCOMPARE(listing->entries.at(1).path, "c = d"_s);
    }
}

void ArchiveListingReaderTest::kindFollowsFromTheAttributes_data()
{
    Rows<QByteArray, Kind> rows;
    const auto row = [&rows](const char *properties, Kind kind) {
        rows.row(properties, properties, kind);
    };
    row("Folder = -\nAttributes = A -rw-r--r--", Kind::FILE);
    row("Folder = -\nAttributes = V 01800000 0rw-------", Kind::FILE);
    row("Attributes = ....A", Kind::FILE);
    row("Mode = -rwsr-xr-t", Kind::FILE);
    row("Folder = +\nSize = ", Kind::FOLDER);
    row("Attributes = D drwxr-xr-x", Kind::FOLDER);
    row("Attributes = D....", Kind::FOLDER);
    row("Mode = drwxr-xr-x", Kind::FOLDER);
    row("Attributes =  lrwxrwxrwx", Kind::SYMBOLIC_LINK);
    row("Folder = -\nAttributes = A lrwxrwxrwx", Kind::SYMBOLIC_LINK);
    row("Attributes = RAL", Kind::SYMBOLIC_LINK);
    row("Folder = +\nAttributes = DL", Kind::SYMBOLIC_LINK);
    row("Mode = lrwxrwxrwx\nFolder = +", Kind::SYMBOLIC_LINK);
    row("Mode = brw-r--r--", Kind::DEVICE);
    row("Mode = crw-r--r--", Kind::DEVICE);
    row("Attributes = A prw-r--r--", Kind::DEVICE);
    row("Mode = srw-r--r--", Kind::DEVICE);
}

void ArchiveListingReaderTest::kindFollowsFromTheAttributes()
{
    const auto [properties, kind] = Rows<QByteArray, Kind>::current();
    QVERIFY(only("Path = a\n" + properties + "\n").kind == kind);
    QVERIFY(only(properties + "\nPath = a\n").kind == kind);
}

void ArchiveListingReaderTest::targetsAreRead_data()
{
    Rows<QByteArray, Kind>()
        .row("symbolic",
             "Mode = lrwxrwxrwx\nSymbolic Link = ../b\n"
             "Hard Link = \n",
             Kind::SYMBOLIC_LINK)
        .row("hard", "Mode = -rw-r--r--\nSymbolic Link = \nHard Link = ../b\n", Kind::HARD_LINK)
        .row("older name", "Mode = lrwxrwxrwx\nLink = ../b\n", Kind::SYMBOLIC_LINK)
        .row("no mode", "Symbolic Link = ../b\n", Kind::SYMBOLIC_LINK)
        .row("mode afterwards", "Hard Link = ../b\nMode = -rw-r--r--\n", Kind::HARD_LINK);
}

void ArchiveListingReaderTest::targetsAreRead()
{
    const auto [properties, kind] = Rows<QByteArray, Kind>::current();
    const ArchiveEntry entry = only("Path = a\n" + properties);
    QVERIFY(entry.kind == kind);
    QCOMPARE(entry.target, "../b"_s);
}

void ArchiveListingReaderTest::formatsWithoutAnIndexAreStreams_data()
{
    Rows<QByteArray, bool> rows;
    for (const char *type : {"bzip2", "gzip", "lzma", "lzma86", "xz", "Z", "zstd"})
        rows.row(type, type, true);
    for (const char *type : {"7z", "zip", "tar", "Rar5", "Cpio"})
        rows.row(type, type, false);
    rows.row("inner archive", "Ar\nType = xz", true);
}

void ArchiveListingReaderTest::formatsWithoutAnIndexAreStreams()
{
    const auto [types, isStream] = Rows<QByteArray, bool>::current();
    const auto listing = read("--\nType = " + types + "\n\n----------\nPath = gzip\nSize = 1\n\n");
    QVERIFY(listing);
    QCOMPARE(listing->isStream, isStream);
}

void ArchiveListingReaderTest::emptyArchiveHasNoEntries()
{
    const auto listing = read("--\nPath = x.zip\nType = zip\n\n----------\n");
    QVERIFY(listing);
    QVERIFY(listing->entries.isEmpty());
}

void ArchiveListingReaderTest::entryWithoutAPathCounts()
{
    const auto listing = read("--\nType = bzip2\n\n----------\nSize = 5\nPacked Size = 3\n\n");
    QVERIFY(listing);
    QCOMPARE(listing->entries.size(), 1);
    QCOMPARE(listing->entries.first().size, 5LL);
    QCOMPARE(only("Path = a\nSize = -7\n").size, 0LL);
}

void ArchiveListingReaderTest::encryptionShows()
{
    QVERIFY(only("Path = a\nEncrypted = +\n").isEncrypted);
    QVERIFY(!only("Path = a\nEncrypted = -\n").isEncrypted);
}

void ArchiveListingReaderTest::passwordQuestionShows()
{
    ArchiveListingReader reader;
    reader.read("Listing archive: e.7z\n\n\nEnter password (will not be echoed):");
    reader.result();
    QVERIFY(reader.wantsPassword());
    ArchiveListingReader other;
    other.read(TwoFiles + "Path = Enter password\n");
    other.result();
    QVERIFY(!other.wantsPassword());
}

void ArchiveListingReaderTest::commentOfTheArchiveHidesNoEntry()
{
    const auto listing = read("--\nType = zip\nComment = \n{\nhead\n}\n----------\nPath = made up\n"
                              "}\n\n----------\nPath = a\nSize = 1\n\n");
    QVERIFY(listing);
    QCOMPARE(listing->entries.size(), 2);
    QCOMPARE(listing->entries.last().path, "a"_s);
}

void ArchiveListingReaderTest::propertyThatComesTwiceIsNotTrusted()
{
    QVERIFY(!read("----------\nPath = a\nComment = \n{\nSymbolic Link = b\n}\n"
                  "Symbolic Link = ../../c\n\n"));
    QVERIFY(!read("----------\nPath = a\nPath = b\n\n"));
    QVERIFY(read("----------\nPath = a\nSize = 1\n\nPath = b\nSize = 1\n\n"));
}

void ArchiveListingReaderTest::endlessLineIsNotTrusted()
{
    ArchiveListingReader reader;
    reader.read("----------\nPath = ");
    for (int block = 0; block < 20; ++block)
        reader.read(QByteArray(100000, 'x'));
    QVERIFY(!reader.result());
}

KAVO_TEST_MAIN(ArchiveListingReaderTest)
#include "ArchiveListingReaderTest.moc"
