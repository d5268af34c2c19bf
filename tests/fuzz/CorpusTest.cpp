// Every fuzz corpus replayed as ordinary tests, each seed one case held to its target's
// invariants. The seeds written by hand must also give what this table says; seeds the fuzzer
// adds are held to the invariants only, and a seed of the table gone from its folder fails.
#include "fuzz/FuzzTargets.h"
#include "support/TempRoot.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

#include <cctype>
#include <map>
#include <set>
#include <string>

namespace brovant::test {
namespace {

struct Expected {
    const char* outcome;
    const char* detail = ""; // a part of the detail
};

const std::map<std::string, Expected> kExpected = {
    {"caliper/byte_by_byte.bin", {"2/25 3/12"}},
    {"caliper/classic_crlf.bin", {"2/25 3/12 7/99"}},
    {"caliper/cr_only.bin", {"2/25 3/12"}},
    {"caliper/empty_lines.bin", {"2/25"}},
    {"caliper/exactly_limit.bin", {"0/11 1/22"}},
    {"caliper/flush_mid_telegram.bin", {"- - - -"}}, // a quiet line cuts a telegram apart
    {"caliper/keys_outside.bin", {"-1/42 -1/42 -1/42 -1/42"}},
    {"caliper/lf_cr.bin", {"2/25 3/12"}},
    {"caliper/lf_only.bin", {"2/25 3/12"}},
    {"caliper/long_flushed_pieces.bin", {"6/77 6/77 6/77"}},
    {"caliper/long_line.bin", {"2/99 3/25"}},
    {"caliper/long_line_chunked.bin", {"4/55 5/12"}},
    {"caliper/no_line_end_flushed.bin", {"2/25 3/12 7/99"}},
    {"caliper/nul_inside.bin", {"- -"}},
    {"caliper/refused.bin", {"- - - - - - -"}},
    {"caliper/sentences.bin", {"- -"}},
    // The line read as one sentence; what a reader measures taking it twice.
    {"caliper_sentence/dia_bad_checksum_digits.txt", {"-;"}},
    {"caliper_sentence/dia_centimetres.txt", {"-;"}},
    {"caliper_sentence/dia_checksum.txt", {"D25;/25|/25"}},
    {"caliper_sentence/dia_cut_short.txt", {"-;"}},
    {"caliper_sentence/dia_largest.txt", {"D999;/999|/999"}},
    {"caliper_sentence/dia_lower_checksum.txt", {"D25;/25|/25"}},
    {"caliper_sentence/dia_many_digits.txt", {"-;"}},
    {"caliper_sentence/dia_no_checksum.txt", {"D25;/25|/25"}},
    {"caliper_sentence/dia_rounds_down.txt", {"D25;/25|/25"}},
    {"caliper_sentence/dia_too_large.txt", {"-;"}},
    {"caliper_sentence/dia_wrong_checksum.txt", {"-;"}},
    {"caliper_sentence/dia_wrong_high_digit.txt", {"-;"}},
    {"caliper_sentence/dia_zero_padded.txt", {"D25;/25|/25"}},
    {"caliper_sentence/other_talker.txt", {"-;"}},
    {"caliper_sentence/several_on_line.txt", {"-;FI/30|/0|FI/30|/0"}},
    // The species sent last waits for the next line's diameter.
    {"caliper_sentence/species_last.txt", {"-;/41|KI/41"}},
    {"caliper_sentence/spc_blank_code.txt", {"-;"}},
    {"caliper_sentence/spc_checksum.txt", {"SFI;"}},
    {"caliper_sentence/spc_latin1.txt", {"SBÄ;"}},
    {"caliper_sentence/spc_utf8_blanks.txt", {"SBÄ;"}},
    {"config/binary_garbage.dtr", {"0 loaded, 0/0/0/0 rows"}},
    {"config/choice_order.dtr", {"1 loaded, 0/0/0/0 rows"}},
    {"config/cp1252_undefined.dtr", {"1 loaded, 0/1/1/0 rows"}},
    {"config/cr_only.dtr", {"1 loaded, 0/0/0/0 rows"}},
    {"config/empty.dtr", {"0 loaded, 0/0/0/0 rows"}},
    {"config/header_no_line_end.dtr", {"1 loaded, 0/0/0/0 rows"}},
    {"config/header_only.dtr", {"1 loaded, 0/0/0/0 rows"}},
    {"config/later_bad_header.dtr", {"0 loaded, 1/1/0/1 rows"}},
    {"config/lf_only.dtr", {"1 loaded, 3/4/2/1 rows"}},
    {"config/long_line.dtr", {"1 loaded, 1/2/0/0 rows"}},
    {"config/many_labels.dtr", {"1 loaded, 0/0/0/0 rows"}},
    {"config/nul_inside.dtr", {"0 loaded, 1/1/1/0 rows"}},
    {"config/odd_numbers.dtr", {"1 loaded, 8/15/0/3 rows"}},
    {"config/short_and_unknown_lines.dtr", {"1 loaded, 1/1/1/1 rows"}},
    {"config/tariffs_over_limit.dtr", {"1 loaded, 0/205/0/0 rows"}},
    {"config/valid_minimal.dtr", {"1 loaded, 3/4/2/1 rows"}},
    {"config/wrong_header.dtr", {"0 loaded, 0/0/0/0 rows"}},
    {"lists/cr_only.dat", {"header, 0 regions, 0 trees, 0 of type 2"}},
    {"lists/device_export.dat", {"wrong structure"}},
    {"lists/empty.dat", {"0 regions, 0 trees, 0 of type 2"}},
    {"lists/letters_in_numbers.dat", {"header, 0 regions, 3 trees, 1 of type 2"}},
    {"lists/long_line.dat", {"header, 2 regions, 0 trees, 0 of type 2"}},
    {"lists/many_records.dat", {"header, 20 regions, 150 trees, 50 of type 2"}},
    {"lists/nul_inside.dat", {"header, 1 regions, 1 trees, 0 of type 2"}},
    {"lists/only_trees.dat", {"1 regions, 2 trees, 1 of type 2"}},
    {"lists/short_records.dat", {"header, 1 regions, 2 trees, 1 of type 2"}},
    {"lists/texts_only.dat", {"header, 0 regions, 0 trees, 0 of type 2"}},
    {"lists/truncated_001.dat", {"wrong structure"}},
    {"lists/truncated_mid_tree.dat", {"header, 2 regions, 2 trees, 1 of type 2"}},
    {"lists/umlauts.dat", {"header, 1 regions, 1 trees, 0 of type 2"}},
    {"lists/unsafe_list_number.dat", {"header, 1 regions, 0 trees, 0 of type 2"}},
    {"lists/valid_full.dat", {"header, 2 regions, 2 trees, 1 of type 2"}},
    {"lists/valid_lf_only.dat", {"header, 2 regions, 2 trees, 1 of type 2"}},
    {"lists/wrong_after_rows.dat", {"wrong structure"}},
    {"lists/wrong_structure.dat", {"wrong structure"}},
    // The same scripts as the device's below; the office checks checksums.
    {"office_receive/burst.bin", {"failed"}},
    {"office_receive/byte_by_byte.bin", {"ok C.DAT"}},
    {"office_receive/chunk_of_seven.bin", {"ok C.DAT"}},
    {"office_receive/clean_one_file.bin", {"ok A.DAT"}},
    {"office_receive/cut_frame.bin", {"ok C.DAT"}},
    {"office_receive/digits_wrap.bin", {"ok W.DAT"}},
    {"office_receive/eot_only.bin", {"ok"}},
    {"office_receive/eot_inside_frame.bin", {"ok C.DAT"}},       // NAK, then the frame again
    {"office_receive/hostile_names.bin", {"failed, 1 refused"}}, // ends on the first refused
    {"office_receive/lines_before_header.bin", {"ok B.DAT"}},
    {"office_receive/link_names.bin", {"ok DANGLE_2.DAT|LINK_2.DAT"}}, // beside the links
    {"office_receive/lowercase_checksum.bin", {"ok L.DAT"}},           // refused once, then taken
    {"office_receive/nak_storm.bin", {"failed"}},
    {"office_receive/noise_first.bin", {"ok"}},
    {"office_receive/overlong_noise.bin", {"ok C.DAT"}},
    {"office_receive/same_name_twice.bin", {"ok ONE.DAT|one_2.dat"}},
    {"office_receive/short_header.bin", {"failed, 1 refused"}},
    {"office_receive/silence_midway.bin", {"failed"}},
    {"office_receive/two_files.bin", {"ok 4711    .DAT|MÜHLE   .DAT"}},
    {"office_receive/wrong_checksum_once.bin", {"ok C.DAT"}},
    {"office_receive/wrong_digit_then_right.bin", {"ok C.DAT"}},
    {"registry/bad_escape.reg", {"-"}},
    {"registry/bad_header.reg", {"-"}},
    {"registry/both_hives.reg", {"-"}},
    {"registry/case_duplicates.reg",
     {"CU", "[Software\\NORVA\\Brovant\\Key]\n\"V\" sz 74657874\n"}},
    {"registry/comments_crlf_bom.reg", {"CU", "\"A\" sz 62\n"}},
    {"registry/continuation.reg", {"CU", "\"Long\" sz 414243\n"}},
    {"registry/control_char.reg", {"-"}},
    {"registry/default_value.reg", {"CU", "\"\" dword 1\n"}},
    {"registry/empty_key_name.reg", {"-"}},
    {"registry/escapes.reg", {"CU", "\"a\\b\"c\" sz 785c2279\n"}},
    {"registry/hex_string.reg", {"CU", "\"Ctl\" sz 4101\n\"Tab\" sz 09\n"}},
    {"registry/invalid_utf8.reg", {"-"}},
    {"registry/odd_hex.reg", {"-"}},
    {"registry/program_cu.reg", {"CU", "[Software\\NORVA\\Brovant\\DUE]\n\"Baudrate\" dword 5\n"}},
    {"registry/program_lm.reg", {"LM", "\"BattSuspendTimeout\" dword 300\n"}},
    {"registry/root_values.reg", {"CU", "[]\n\"x\" dword 4294967295\n"}},
    {"registry/short_dword.reg", {"-"}},
    {"registry/trailing_blanks.reg", {"CU", "\"a\" sz 62206320\n"}},
    {"registry/umlauts.reg", {"CU", "\"AUSWAHL01\" sz 4dc3bc6c6c657220c39f20e282ac20f09f9880\n"}},
    {"registry/value_before_section.reg", {"-"}},
    {"serial_receive/burst.bin", {"failed C.DAT"}}, // the frames after the first go unanswered
    {"serial_receive/byte_by_byte.bin", {"ok C.DAT"}},
    {"serial_receive/chunk_of_seven.bin", {"ok C.DAT"}},
    {"serial_receive/clean_one_file.bin", {"ok A.DAT"}},
    {"serial_receive/cut_frame.bin", {"ok C.DAT"}},
    {"serial_receive/digits_wrap.bin", {"ok W.DAT"}},
    {"serial_receive/eot_only.bin", {"ok"}},
    {"serial_receive/hostile_names.bin", {"failed, 1 refused"}}, // ends on the first refused
    {"serial_receive/lines_before_header.bin", {"ok B.DAT"}},
    {"serial_receive/link_names.bin", {"ok DANGLE.DAT|LINK.DAT"}},
    {"serial_receive/lowercase_checksum.bin", {"ok L.DAT"}}, // the device checks no checksum
    {"serial_receive/nak_storm.bin", {"failed C.DAT"}},
    {"serial_receive/noise_first.bin", {"ok"}},
    {"serial_receive/overlong_noise.bin", {"ok C.DAT"}},
    {"serial_receive/same_name_twice.bin", {"ok ONE.DAT"}},
    {"serial_receive/short_header.bin", {"failed, 1 refused"}},
    {"serial_receive/silence_midway.bin", {"failed C.DAT"}},
    {"serial_receive/two_files.bin", {"ok 4711    .DAT|MÜHLE   .DAT"}},
    {"serial_receive/wrong_checksum_once.bin", {"ok C.DAT"}},
    {"serial_receive/wrong_digit_then_right.bin", {"ok C.DAT"}},
};

const QString kCorpus = QStringLiteral(BROVANT_SOURCE_DIR "/tests/fuzz/corpus/");

struct Seed {
    const FuzzTarget* target;
    std::string file; // "<target>/<file name>"
};
void PrintTo(const Seed& seed, std::ostream* os)
{
    *os << seed.file;
}

// Every file of every corpus, and every seed of the table whether its file is there or not.
std::vector<Seed> seeds()
{
    std::vector<Seed> all;
    for (const FuzzTarget& target : fuzzTargets()) {
        const std::string prefix = std::string(target.name) + '/';
        std::set<std::string> files;
        for (const QString& name :
             QDir(kCorpus + QLatin1StringView(target.name)).entryList(QDir::Files))
            files.insert(prefix + name.toStdString());
        for (auto it = kExpected.lower_bound(prefix);
             it != kExpected.end() && it->first.starts_with(prefix); ++it)
            files.insert(it->first);
        // An empty folder fails as a seed of its own.
        if (files.empty())
            files.insert(prefix);
        for (const std::string& file : files)
            all.push_back({&target, file});
    }
    return all;
}

class CorpusTest : public ::testing::TestWithParam<Seed> {};

TEST_P(CorpusTest, HoldsEveryInvariant)
{
    const Seed& seed = GetParam();
    QFile file(kCorpus + QString::fromStdString(seed.file));
    ASSERT_TRUE(QFileInfo(file).isFile() && file.open(QIODevice::ReadOnly)) << "no seed";
    TempRoot dir;
    const ProbeResult result = seed.target->make(dir.path())(file.readAll());
    EXPECT_EQ(result.failure.toStdString(), "");
    if (const auto it = kExpected.find(seed.file); it != kExpected.end()) {
        EXPECT_EQ(result.outcome.toStdString(), it->second.outcome) << result.detail.toStdString();
        EXPECT_TRUE(result.detail.contains(QString::fromUtf8(it->second.detail)))
            << result.detail.toStdString();
    }
}

// Test names from the seeds: everything but letters and digits becomes "_".
INSTANTIATE_TEST_SUITE_P(Seeds, CorpusTest, ::testing::ValuesIn(seeds()),
                         [](const ::testing::TestParamInfo<Seed>& info) {
                             std::string name = info.param.file;
                             for (char& c : name) {
                                 if (!std::isalnum(static_cast<unsigned char>(c)))
                                     c = '_';
                             }
                             return name;
                         });

} // namespace
} // namespace brovant::test
