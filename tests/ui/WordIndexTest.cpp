#include "ui/list/WordIndex.h"
#include "tests/support/TestMain.h"
#include "ui/list/Vocabulary.h"

#include <algorithm>
#include <random>

using namespace Kavo::Ui;

namespace {

QVector<int> bitsOf(const QBitArray &bits)
{
    QVector<int> set;
    for (int i = 0; i < bits.size(); ++i) {
        if (bits.testBit(i))
            set.append(i);
    }
    return set;
}

QVector<int> textsWith(const WordIndex &index, const QByteArray &part, int first = 0)
{
    return bitsOf(index.textsWith(part, QBitArray(index.size(), true), first));
}

int below(std::mt19937 &random, int end)
{
    return static_cast<int>(random() % static_cast<std::uint_fast32_t>(end));
}

/// A word of one to six letters from a to d, so that many words contain others.
QByteArray randomWord(std::mt19937 &random)
{
    QByteArray word(1 + below(random, 6), Qt::Uninitialized);
    for (char &letter : word)
        letter = static_cast<char>('a' + below(random, 4));
    return word;
}

} // namespace

class WordIndexTest final : public QObject
{
    Q_OBJECT

private slots:
    void wordsHaveNumbers()
    {
        Vocabulary words;
        QCOMPARE(words.add("runway"), 0);
        QCOMPARE(words.add("run"), 1);
        QCOMPARE(words.add("runway"), 0);
        QCOMPARE(words.add("way"), 2);
        QCOMPARE(words.size(), 3);
        // The table has to grow several times.
        for (int i = 0; i < 20000; ++i)
            QCOMPARE(words.add(QByteArray::number(i)), 3 + i);
        words.squeeze();
        for (int i = 0; i < 20000; ++i)
            QCOMPARE(words.add(QByteArray::number(i)), 3 + i);
        QCOMPARE(words.add("way"), 2);
        QCOMPARE(words.size(), 20003);
    }

    void partsOfWordsAreFound()
    {
        Vocabulary words;
        for (const char *word : {"runway", "taxiway", "rum", "a", "wayaway"})
            words.add(word);
        QCOMPARE(bitsOf(words.containing("way")), QVector<int>({0, 1, 4}));
        QCOMPARE(bitsOf(words.containing("ru")), QVector<int>({0, 2}));
        QCOMPARE(bitsOf(words.containing("runway")), QVector<int>({0}));
        QCOMPARE(bitsOf(words.containing("a")), QVector<int>({0, 1, 3, 4}));
        QCOMPARE(bitsOf(words.containing("runways")), QVector<int>());
        QCOMPARE(bitsOf(words.containing("")), QVector<int>({0, 1, 2, 3, 4}));
    }

    void partsDoNotCrossWords()
    {
        Vocabulary words;
        words.add("run");
        words.add("way");
        QCOMPARE(bitsOf(words.containing("nw")), QVector<int>());
        QCOMPARE(bitsOf(words.containing("runway")), QVector<int>());
    }

    void textsAreFoundByPartsOfTheirWords()
    {
        WordIndex index;
        index.append({"lights", "for", "every", "pier"});
        index.append({});
        index.append({"pierced", "pierced", "lights", "lights"});
        index.append({"every", "season"});
        QCOMPARE(index.size(), 4);
        QCOMPARE(textsWith(index, "pier"), QVector<int>({0, 2}));
        QCOMPARE(textsWith(index, "lights"), QVector<int>({0, 2}));
        QCOMPARE(textsWith(index, "e"), QVector<int>({0, 2, 3}));
        QCOMPARE(textsWith(index, "season"), QVector<int>({3}));
        QCOMPARE(textsWith(index, "winter"), QVector<int>());
    }

    void searchMayBeginInTheMiddle()
    {
        WordIndex index;
        for (const char *word : {"pier", "run", "pier", "piers"})
            index.append({word});
        QCOMPARE(textsWith(index, "pier", 1), QVector<int>({2, 3}));
        QCOMPARE(textsWith(index, "pier", 4), QVector<int>());
    }

    void onlyTextsThatAreAskedForAreFound()
    {
        WordIndex index;
        for (const char *word : {"pier", "run", "pier", "piers"})
            index.append({word});
        QBitArray among(6, true);
        among.clearBit(2);
        QCOMPARE(bitsOf(index.textsWith("pier", among)), QVector<int>({0, 3}));
        QCOMPARE(index.textsWith("pier", among).size(), 6);
    }

    void anEmptyIndexFindsNothing()
    {
        const WordIndex index;
        QCOMPARE(index.size(), 0);
        QVERIFY(index.textsWith("pier", QBitArray()).isEmpty());
    }

    /// With so many words, their numbers are stored in one, two and three groups of bits.
    void indexFindsWhatAFullScanFinds()
    {
        std::mt19937 random(13);
        WordIndex index;
        QList<QByteArrayList> texts;
        for (int i = 0; i < 17000; ++i)
            texts.append({"n" + QByteArray::number(i)});
        for (int i = 0; i < 300; ++i) {
            QByteArrayList words{"n" + QByteArray::number(below(random, 17000))};
            for (int count = below(random, 40); count > 0; --count)
                words.append(randomWord(random));
            texts.append(words);
        }
        for (const QByteArrayList &words : texts)
            index.append(words);
        index.squeeze();
        for (int round = 0; round < 40; ++round) {
            const QByteArray part =
                round % 4 ? randomWord(random) : "n" + QByteArray::number(below(random, 17000));
            QVector<int> expected;
            for (int i = 0; i < texts.size(); ++i) {
                const QByteArrayList &words = texts.at(i);
                if (std::any_of(words.begin(), words.end(),
                                [&part](const QByteArray &word) { return word.contains(part); }))
                    expected.append(i);
            }
            QCOMPARE(textsWith(index, part), expected);
        }
    }
};

KAVO_TEST_MAIN(WordIndexTest)
#include "WordIndexTest.moc"
