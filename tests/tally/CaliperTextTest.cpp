// The calipers' telegrams and the Bluetooth calipers' sentences. The sentences' checksums in the
// tables were worked out apart from this program (XOR of the bytes between "$" and "*").
#include "masterdata/MasterTables.h"
#include "tally/CaliperSentence.h"
#include "tally/CaliperTelegram.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace brovant {
namespace {

TEST(CaliperSentence, ReadsDiameterAndSpeciesSentences)
{
    struct Row {
        QByteArray sentence;
        const char* expected; // "D<cm>", "S<code>", or "" for refused
    };
    const Row rows[] = {
        {"$PHGF,DIA,M,254,*2B", "D25"},
        {"$PHGF,DIA,M,254,*2b", "D25"}, // lower-case hex digits
        {"$PHGF,DIA,M,254,*2C", ""},    // wrong checksum
        {"$PHGF,DIA,M,255,*2B", ""},    // a changed digit fails the same checksum
        {"$PHGF,DIA,M,254,*", "D25"},   // "*" without digits: no checksum
        {"$PHGF,DIA,M,254,", "D25"},    // no "*" at all
        {"$PHGF,DIA,M,254", ""},        // cut short: no comma closes the number
        {"$PHGF,DIA,M,254,*2B \r", "D25"},
        {"$PHGF,DIA,M,254,*2", ""}, // one digit
        {"$PHGF,DIA,M,254,*2B0", ""},
        {"$PHGF,DIA,M,254,*G2", ""},
        {"$PHGF,DIA,M,254,*2B*", ""},
        // Millimetres rounded down to whole centimetres.
        {"$PHGF,DIA,M,259,*26", "D25"},
        {"$PHGF,DIA,M,249,", "D24"},
        {"$PHGF,DIA,M,9,*21", "D0"},
        {"$PHGF,DIA,M,0,*28", "D0"},
        {"$PHGF,DIA,M,0254,", "D25"},
        {"$PHGF,DIA,M,9999,*18", "D999"},
        {"$PHGF,DIA,M,10000,", ""},
        {"$PHGF,DIA,M,99999999999999999999,", ""},
        {"$PHGF,DIA,M,25.4,", ""},
        {"$PHGF,DIA,M,-25,", ""},
        {"$PHGF,DIA,M, 254,", ""},
        {"$PHGF,DIA,M,,", ""},
        {"$PHGF,DIA,M", ""},
        {"$PHGF,DIA,C,25,", ""}, // only millimetres are known
        {"$PHGF,DIA,,254,", ""},
        // Species.
        {"$PHGF,SPC,FI,1,*67", "SFI"},
        {"$PHGF,SPC,FI,1,*76", ""},
        {"$PHGF,SPC,BU,*62", "SBU"},
        {"$PHGF,SPC, BU ,", "SBU"},
        {"$PHGF,SPC,BU", ""},
        {"$PHGF,SPC,BU,", "SBU"},
        {"$PHGF,SPC,B\xC3\x84,", "SBÄ"}, // UTF-8
        {"$PHGF,SPC,B\xC4,", "SBÄ"},     // Latin-1
        {"$PHGF,SPC,,", ""},
        {"$PHGF,SPC,  ,", ""},
        {"$PHGF,SPC", ""},
        // Anything else.
        {"$PHGF,HGT,M,25000,", ""},
        {"$GPGGA,123519,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,*47", ""},
        {"$phgf,dia,m,254,", ""},
        {"PHGF,DIA,M,254,*2B", ""},
        {" $PHGF,DIA,M,254,*2B", ""},
        {"$", ""},
        {"$*", ""},
        {"", ""},
        {"325", ""},
        {QByteArray("$PHGF,DIA,M,2\0004,", 16), ""},
        {"\xff\xfe$\x01", ""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.sentence.toPercentEncoding().toStdString());
        const std::optional<CaliperSentence> s = parseCaliperSentence(row.sentence);
        QString got;
        if (s && s->kind == CaliperSentence::Kind::Diameter)
            got = u'D' + QString::number(s->diameter);
        else if (s)
            got = u'S' + s->species;
        EXPECT_EQ(got.toStdString(), std::string(row.expected));
    }
    EXPECT_EQ(sentenceChecksum("PHGF,DIA,M,412,"), QByteArray("2F"));
    EXPECT_EQ(sentenceChecksum(""), QByteArray("00"));
}

// Lines fed to one reader, the measurements joined as "code/cm" with '|'.
std::string measurements(const std::vector<QByteArray>& lines, int resetBefore = -1)
{
    SentenceReader reader;
    QStringList out;
    for (int i = 0; i < int(lines.size()); ++i) {
        if (i == resetBefore)
            reader.reset();
        for (const SentenceMeasurement& m : reader.take(lines[size_t(i)]))
            out << m.species + u'/' + QString::number(m.diameter);
    }
    return out.join(u'|').toStdString();
}

TEST(CaliperSentence, SpeciesSentenceGoesWithTheNextDiameterOnly)
{
    struct Row {
        std::vector<QByteArray> lines;
        int resetBefore;
        std::string expected;
    };
    const Row rows[] = {
        {{"$PHGF,DIA,M,254,*2B"}, -1, "/25"},
        {{"$PHGF,SPC,FI,1,*67", "$PHGF,DIA,M,254,*2B"}, -1, "FI/25"},
        {{"$PHGF,SPC,FI,1,*67", "$PHGF,DIA,M,254,*2B", "$PHGF,DIA,M,301,*2A"}, -1, "FI/25|/30"},
        {{"$PHGF,SPC,FI,", "$PHGF,SPC,BU,*62", "$PHGF,DIA,M,301,"}, -1, "BU/30"},
        // A diameter lost to its checksum leaves the species for the one measured again.
        {{"$PHGF,SPC,FI,", "$PHGF,DIA,M,301,*2B", "$PHGF,DIA,M,301,*2A"}, -1, "FI/30"},
        // A lost species sentence leaves the species entered.
        {{"$PHGF,SPC,FI,1,*68", "$PHGF,DIA,M,301,*2A"}, -1, "/30"},
        {{"$PHGF,SPC,XY,", "$PHGF,DIA,M,301,"}, -1, "XY/30"},
        // Several sentences on one line, noise before the first.
        {{"$PHGF,SPC,FI,*$PHGF,DIA,M,301,*2A$PHGF,DIA,M,9,*21"}, -1, "FI/30|/0"},
        {{"OK\x01$PHGF,DIA,M,412,*2F"}, -1, "/41"},
        {{"$$PHGF,DIA,M,412,$"}, -1, "/41"},
        {{"no sentence", "", "$"}, -1, ""},
        // A lost link forgets the species sent before it.
        {{"$PHGF,SPC,FI,", "$PHGF,DIA,M,301,"}, 1, "/30"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.expected);
        EXPECT_EQ(measurements(row.lines, row.resetBefore), row.expected);
    }
}

TEST(CaliperSentence, CodesStandForMainSpeciesOrTheCaliperOwn)
{
    MasterTables tables;
    const char* const main[] = {"FI ", "KI ", "DGL", "BU ", "EI ", "BÄ ",
                                "TA ", "LÄ ", "",    "ES ", "ELS", "FI2"};
    for (size_t i = 0; i < std::size(main); ++i)
        tables.mainSpecies[i] = QString::fromUtf8(main[i]);
    tables.caliperSpecies = QStringLiteral("PA ");
    const struct {
        const char* code;
        const char* species; // nullptr: the species stays
    } rows[] = {
        {"FI", "FI "},   {"fi", "FI "}, {" BU ", "BU "}, {"DGL", "DGL"},   {"dgl", "DGL"},
        {"LÄ", "LÄ "},   {"lä", "LÄ "}, {"ELS", "ELS"}, // beyond the telegram's seven keys
        {"PA", "PA "},   {"pa", "PA "}, {"DG", nullptr}, {"FIC", nullptr}, {"F", nullptr},
        {"XY", nullptr}, {"", nullptr}, {"  ", nullptr}, {"FI2", "FI2"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.code);
        const std::optional<QString> species =
            speciesForCaliperCode(tables, QString::fromUtf8(row.code));
        ASSERT_EQ(species.has_value(), row.species != nullptr);
        if (species) {
            EXPECT_EQ(*species, QString::fromUtf8(row.species));
        }
    }

    // Without a species of its own, and a main species named like it: the main species wins.
    tables.caliperSpecies = QStringLiteral("FI");
    EXPECT_EQ(speciesForCaliperCode(tables, QStringLiteral("FI")), QStringLiteral("FI "));
    tables.caliperSpecies.clear();
    EXPECT_EQ(speciesForCaliperCode(tables, QStringLiteral("PA")), std::nullopt);
    EXPECT_EQ(speciesForCaliperCode(tables, QString()), std::nullopt);
}

TEST(CaliperTelegram, ReadsSpeciesKeyAndDiameter)
{
    struct Row {
        QByteArray telegram;
        bool accepted;
        int speciesKey;
        int diameter;
    };
    const Row rows[] = {
        {"325", true, 2, 25},
        {"905", true, -1, 5},
        {"8123", true, 7, 12},
        {"100", true, 0, 0},
        {"199", true, 0, 99},
        {"0 kind of note", false, 0, 0},
        {"042", true, -1, 42},    // "0" is below the keys
        {"A42", true, -1, 42},    // as is any letter
        {"942", true, -1, 42},    // and "9" above them
        {"\37742", true, -1, 42}, // a byte above ASCII
        {"742\r", true, 6, 42},   // whatever follows the third character is ignored
        {"12", false, 0, 0},
        {"1", false, 0, 0},
        {"", false, 0, 0},
        {"3a5", false, 0, 0},
        {"35a", false, 0, 0},
        {"3 5", false, 0, 0},
        {"3-5", false, 0, 0},
        {"3/5", false, 0, 0}, // the characters just below "0"
        {"3:5", false, 0, 0}, // and just above "9"
        {QByteArray("3\0005", 3), false, 0, 0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.telegram.toPercentEncoding().toStdString());
        const std::optional<Measurement> m = parseTelegram(row.telegram);
        ASSERT_EQ(m.has_value(), row.accepted);
        if (m) {
            EXPECT_EQ(m->speciesKey, row.speciesKey);
            EXPECT_EQ(m->diameter, row.diameter);
        }
    }
}

// Feeds the chunks one after the other, then flushes when asked; every telegram handed over is
// joined with '|', a flush result marked with '!'.
std::string split(const std::vector<QByteArray>& chunks, bool flush = false)
{
    TelegramSplitter splitter;
    QByteArrayList out;
    for (const QByteArray& chunk : chunks)
        out += splitter.feed(chunk);
    if (flush) {
        if (const std::optional<QByteArray> rest = splitter.flush())
            out += '!' + *rest;
    }
    return out.join('|').toStdString();
}

TEST(CaliperTelegram, SplitterCutsTheStreamAtLineEnds)
{
    struct Row {
        std::vector<QByteArray> chunks;
        bool flush;
        std::string expected;
    };
    const Row rows[] = {
        {{"325\r"}, false, "325"},
        {{"325\n"}, false, "325"},
        {{"325\r\n"}, false, "325"},
        {{"325\n\r"}, false, "325"},
        {{"325\r\n412\r\n"}, false, "325|412"},
        {{"325\r412\n501\r\n"}, false, "325|412|501"},
        {{"3", "2", "5", "\r", "\n"}, false, "325"},
        {{"325\r", "\n412", "\r\n"}, false, "325|412"},
        {{"32", "5\r\n41"}, false, "325"},
        {{"32", "5\r\n41"}, true, "325|!41"},
        {{"\r\n\r\n\n\r325\r\n\r\n"}, false, "325"},
        {{"\r\n", "\r", "\n"}, true, ""},
        {{"325"}, false, ""},
        {{"325"}, true, "!325"},
        {{"325\r\n"}, true, "325"},
        {{"3 2 5\r\n"}, false, "3 2 5"},
        {{QByteArray("\0\x01\xff\r\n", 5)}, false, std::string("\0\x01\xff", 3)},
        {{}, true, ""},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.expected);
        EXPECT_EQ(split(row.chunks, row.flush), row.expected);
    }
}

TEST(CaliperTelegram, SplitterStartsAfreshAfterFlush)
{
    TelegramSplitter splitter;
    EXPECT_TRUE(splitter.feed("512").isEmpty());
    EXPECT_TRUE(splitter.hasPending());
    EXPECT_EQ(splitter.flush(), QByteArray("512"));
    EXPECT_FALSE(splitter.hasPending());
    EXPECT_EQ(splitter.flush(), std::nullopt);
    EXPECT_EQ(splitter.feed("623\r\n"), QByteArrayList{"623"});
}

TEST(CaliperTelegram, SplitterKeepsTheFirstHundredBytesOfALongLine)
{
    const QByteArray line = QByteArray("325") + QByteArray(497, 'x');
    struct Row {
        const char* name;
        std::vector<QByteArray> chunks;
    };
    std::vector<QByteArray> bytewise;
    for (const char c : line)
        bytewise.emplace_back(1, c);
    const Row rows[] = {
        {"at once", {line}},
        {"byte by byte", bytewise},
        {"in two", {line.left(150), line.mid(150)}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        TelegramSplitter splitter;
        for (const QByteArray& chunk : row.chunks) {
            EXPECT_TRUE(splitter.feed(chunk).isEmpty());
        }
        const std::optional<QByteArray> rest = splitter.flush();
        ASSERT_TRUE(rest.has_value());
        EXPECT_EQ(*rest, line.left(TelegramSplitter::kMaxTelegram));
    }

    // The dropped rest of the line does not leak into the next telegram.
    TelegramSplitter splitter;
    EXPECT_EQ(splitter.feed(line + "\r\n" + "412\r\n"),
              (QByteArrayList{line.left(TelegramSplitter::kMaxTelegram), "412"}));
    EXPECT_EQ(splitter.feed(QByteArray(100, 'y') + "\n"), QByteArrayList{QByteArray(100, 'y')});
    EXPECT_EQ(splitter.feed(QByteArray(101, 'z') + "\n"), QByteArrayList{QByteArray(100, 'z')});
}

} // namespace
} // namespace brovant
