// The Bluetooth calipers' sentences. The checksums in the tables were worked out apart from this
// program (XOR of the bytes between "$" and "*").
#include "tally/CaliperSentence.h"
#include "masterdata/MasterTables.h"

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
        {"$PHGF,DIA,M,25", ""},
        {"$PHGF,DIA,M,254,*2B \r", "D25"},
        {"$PHGF,DIA,M,254,*2", ""}, // one digit
        {"$PHGF,DIA,M,254,*2B0", ""},
        {"$PHGF,DIA,M,254,*G2", ""},
        {"$PHGF,DIA,M,254,*2B*", ""},
        // Millimetres rounded down to whole centimetres.
        {"$PHGF,DIA,M,259,*26", "D25"},
        {"$PHGF,DIA,M,250,", "D25"},
        {"$PHGF,DIA,M,249,", "D24"},
        {"$PHGF,DIA,M,9,*21", "D0"},
        {"$PHGF,DIA,M,0,*28", "D0"},
        {"$PHGF,DIA,M,0254,", "D25"},
        {"$PHGF,DIA,M,9999,*18", "D999"},
        {"$PHGF,DIA,M,10000,", ""},
        {"$PHGF,DIA,M,9999999,", ""},
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

} // namespace
} // namespace brovant
