#include "ui/list/FoldedText.h"
#include "tests/support/Rows.h"
#include "tests/support/TestMain.h"

using namespace Kavo::Testing;
using namespace Kavo::Ui;

class FoldedTextTest final : public QObject
{
    Q_OBJECT

private slots:
    void lettersAreFolded_data()
    {
        Rows<QString, QString>()
            .row("nothing", "", "")
            .row("plain", "runway 27l", "runway 27l")
            .row("capitals", "JetWays", "jetways")
            .row("accents", "Genève Zürich Malmö Šibenik", "geneve zurich malmo sibenik")
            .row("accents of their own", "Gene\xcc\x80ve", "geneve")
            .row("capitals with accents", "ÉÀÜŇ", "eaun")
            .row("sharp s", "Straße STRASSE ẞ", "strasse strasse ss")
            .row("strokes", "Tromsø Łódź Đakovo", "tromso lodz dakovo")
            .row("more strokes", "Ħamrun Ŧ ŧ", "hamrun t t")
            .row("letters of the north", "Þórshöfn Seyðisfjörður Ð", "thorshofn seydisfjordur d")
            .row("joined letters", "Ærø œuvre", "aero oeuvre")
            .row("ligature",
                 "o\xef\xac\x83"
                 "ce \xef\xac\x82ight",
                 "office flight")
            .row("dotted capital", "İSTANBUL ısparta", "istanbul isparta")
            .row("Greek", "ΑΘΉΝΑ Αθήνα", "αθηνα αθηνα")
            .row("Greek with a letter for the end", "ΛΈΣΒΟΣ Λέσβος", "λεσβοσ λεσβοσ")
            .row("Cyrillic", "МОСКВА Київ", "москва киів")
            .row("wide letters", "ＡＢＣ１", "abc1")
            .row("beyond the first plane", "\xf0\x9f\x9b\xab Ä", "\xf0\x9f\x9b\xab a");
    }

    void lettersAreFolded()
    {
        const auto [text, folded] = Rows<QString, QString>::current();
        QCOMPARE(foldedText(text), folded);
        // Folding a folded text changes nothing.
        QCOMPARE(foldedText(folded), folded);
    }

    void textIsSplitIntoWords_data()
    {
        Rows<QString, QString>()
            .row("nothing", "", "")
            .row("blanks", " \t\n", "")
            .row("one", "Lights", "lights")
            .row("several", " Lights\n for\tevery\xc2\xa0pier ", "lights|for|every|pier")
            .row("twice", "pier Pier", "pier|pier")
            .row("punctuation at the ends",
                 "Lights, (new) \"piers\"... C++ \xe2\x80\x9eHafen\xe2\x80\x9c",
                 "lights|new|piers|c|hafen")
            .row("punctuation within", "x-plane v1.2.3 it's a/b", "x-plane|v1.2.3|it's|a/b")
            .row("nothing but punctuation", "- & \xe2\x80\x94 ... *", "")
            .row("accents", "Häfen!", "hafen")
            .row("beyond the first plane", "\xf0\xa0\x80\x80, a", "\xf0\xa0\x80\x80|a");
    }

    void textIsSplitIntoWords()
    {
        const auto [text, words] = Rows<QString, QString>::current();
        QCOMPARE(QString::fromUtf8(foldedWords(text).join('|')), words);
    }
};

KAVO_TEST_MAIN(FoldedTextTest)
#include "FoldedTextTest.moc"
