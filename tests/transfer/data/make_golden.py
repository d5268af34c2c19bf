#!/usr/bin/env python3
"""Builds the expected list files of ListFileExportTest by hand, field by field, from the record
layouts of the list file (fixed widths of Brov_Kopfdaten, Brov_Region, Brov_Holzdaten and
Brov_Einstellungen). It never runs the program. Run it once from this folder when the layout or the
test data change, then look at the lines it prints with their column ruler.

The values here are the same as the rows of export_device.sql and the settings of
export_settings.reg, which ListFileExportTest loads.
"""

LABELS = [
    "Zusatz:", "Datum:", "Korr.-Faktor:", "Wuchsgebiet:",
    "Forstamt:", "Revier:", "Abteilung:", "Unterabteilung/Fläche:",  # 22 characters: kept whole
    "Bestand:", "Hiebsart:", "Sortiment:", "Käufer:",
    "Rücker:", "Maß:", "Polter:", "Lagerort:",
    "Bemerkung:", "Aufnahme durch:", "", "Größe:",
]
PLAUSI = [None, 1, 0, 1, 1, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 7, 0]  # PLAUSI01..16


def text(value, length):
    """Text field: blank-padded, cut to its length; NULL reads as blanks."""
    return (value or "")[:length].ljust(length)


def number(value, digits, decimals):
    """Numeric field: scaled integer, right-aligned in digits + point + decimals."""
    value = value or 0
    if decimals:
        scale = 10 ** decimals
        shown = "%d.%0*d" % (value // scale, decimals, value % scale)
        return shown.rjust(digits + decimals + 1)
    return str(value).rjust(digits)


def label(index):
    return LABELS[index].ljust(20)  # "%-20s": padded, never cut


def list_file(head, regions, trees, tariffs):
    name = text(head["LISTE_NR"], 8) + ".DAT"
    lines = ["TD0" + name + "Quendrax" + "%6d" % 0 + "Brovant_V300_D"]
    lines.append("001" + text(head["LISTE_NR"], 8) + label(0) + text(head.get("ZUSATZ_A"), 40)
                 + label(1) + text(head.get("DATUM_A"), 10) + label(2)
                 + number(head.get("KOR_FAKTOR_N"), 1, 2) + label(3)
                 + text(head.get("REGION_A"), 8) + text(head.get("STRUKTUR"), 6))
    for record in range(2, 10):
        first, second = 2 * record - 3, 2 * record - 2
        a = head.get("KOPF%d_A" % first)
        b = head.get("KOPF%d_A" % second)
        if not a and not b:  # NULL or empty string; blanks count as text
            continue
        lines.append("%03d" % record + label(2 * record) + text(a, 40) + label(2 * record + 1)
                     + text(b, 40) + "%d" % PLAUSI[first] + "%d" % PLAUSI[second])
    for region, species, tariff in regions:
        lines.append("REG" + text(region, 8) + text(species, 3) + text(tariff, 5))
    for t in trees:
        lines.append(("10A" if t["ID_TYPE"] == 1 else "10B") + text(t.get("PARZ"), 5)
                     + number(t.get("STK"), 2, 0) + text(t.get("BAUMART"), 3)
                     + number(t.get("BHD"), 3, 0) + text(t.get("DMSTUFE"), 2)
                     + number(t.get("KUBATUR"), 4, 2) + text(t.get("NA"), 2) + text(t.get("KA"), 2)
                     + text(t.get("TARIF"), 5))
    for region, species, tariff in tariffs:
        lines.append("712" + text(region, 8) + text(species, 3) + text(tariff, 5))
    return "".join(line + "\r\n" for line in lines).encode("cp1252", errors="replace")


def write(path, data):
    with open(path, "wb") as out:
        out.write(data)
    print(path)
    print("   " + "".join(str(i // 10 % 10) if i % 10 == 0 else " " for i in range(130)))
    print("   " + "".join(str(i % 10) for i in range(130)))
    for line in data.split(b"\r\n")[:-1]:
        print(" | " + line.decode("cp1252"))


# Master rows of kind 3 in ID order, as (ID, REGION_A, BAUMART, TARIF); kind-2 rows never count.
WR_TARIFFS = [(1, "WR01    Z", "KI ", "KI01 "), (2, "WR01    ", "FI ", "FI01 "),
              (3, "WR02", "FI ", "FI02 "), (4, "wr01", "TA ", "TA01 "), (7, "WR01", "BU ", "BU01 "),
              (9, "Süd", "BÄ ", "BÄ01 "), (10, "SÜD", "EI ", "EI01 ")]
AB_TARIFFS = [(11, "AB", "FI ", "T1"), (12, "AB   ", "TA ", "T2"), (13, "ab", "KI ", "T3"),
              (14, "AB      ", "BU ", "T4"), (15, " AB", "EI ", "T5"), (16, "ABC", "ES ", "T6"),
              (17, "ab  ", "LA ", "T7"), (18, "Ab", "DG ", "T8")]


def tariffs_of(region):
    key = lambda r: (r or "")[:8].rstrip(" ")
    return [(r, s, t) for _, r, s, t in sorted(WR_TARIFFS + AB_TARIFFS) if key(r) == key(region)]


if __name__ == "__main__":
    write("export_all_pairs.dat", list_file(
        {"LISTE_NR": "HIEB01", "ZUSATZ_A": "Abt. 12 Süd, Steilhang", "DATUM_A": "04.05.2026",
         "KOR_FAKTOR_N": 95, "REGION_A": "WR01", "STRUKTUR": "T00300",
         "KOPF1_A": "Forstamt Grünwald", "KOPF2_A": "Revier Nord", "KOPF3_A": "12",
         "KOPF4_A": "a", "KOPF5_A": "Fichte Altholz", "KOPF6_A": "Kahlschlag",
         "KOPF7_A": "Stammholz", "KOPF8_A": "Sägewerk Müller GmbH", "KOPF9_A": "Rückebetrieb Öttl",
         "KOPF10_A": "m³", "KOPF11_A": "P-17", "KOPF12_A": "Waldweg 3",
         "KOPF13_A": "1234567890123456789012345678901234567890", "KOPF14_A": "Anna Probe",
         "KOPF15_A": "Preis 12 €", "KOPF16_A": "x"},
        [("WR01", "FI ", "FI01 "), ("WR01", "BU ", "BU01 ")],
        [{"ID_TYPE": 1, "PARZ": "1", "STK": 1, "BAUMART": "FI", "BHD": 26, "DMSTUFE": "26",
          "KUBATUR": 59, "NA": "", "KA": "", "TARIF": "FI01"},
         {"ID_TYPE": 2, "PARZ": "12a", "STK": 12, "BAUMART": "BU", "BHD": 140, "DMSTUFE": "99",
          "KUBATUR": 123456, "NA": "N1", "KA": "K2", "TARIF": "BU01"},
         {"ID_TYPE": 0, "BAUMART": "KI", "BHD": 5, "DMSTUFE": "5", "KUBATUR": 7,
          "TARIF": "KI01"}],
        tariffs_of("WR01")))
    write("export_second_texts.dat", list_file(
        {"LISTE_NR": "L2", "DATUM_A": "01.01.2026", "KOR_FAKTOR_N": 100, "REGION_A": "WR02",
         "STRUKTUR": "T00300", "KOPF2_A": "nur zweiter Text", "KOPF3_A": "",
         "KOPF6_A": "   ", "KOPF16_A": "Ende"},
        [],
        [{"ID_TYPE": 1, "PARZ": "7", "STK": 3, "BAUMART": "FI", "BHD": 31, "DMSTUFE": "32",
          "KUBATUR": 198, "TARIF": "FI02"}],
        tariffs_of("WR02")))
    write("export_no_trees.dat", list_file(
        {"LISTE_NR": "LEER", "REGION_A": "WR01"},
        [("WR01", "TA ", "TA01 ")],
        [],
        tariffs_of("WR01")))
    write("export_umlauts.dat", list_file(
        {"LISTE_NR": "ÄÖÜäöüß", "ZUSATZ_A": "Überhälter äußerst groß, Łódź", "DATUM_A": "1. März 26",
         "KOR_FAKTOR_N": 100, "REGION_A": "Süd", "STRUKTUR": "Ö00300",
         "KOPF1_A": "Förster Jürgen", "KOPF2_A": "Größe Ä", "KOPF3_A": "Öl"},
        [("Süd", "BÄ", "BÄ01")],
        [{"ID_TYPE": 1, "PARZ": "Ä1", "STK": 1, "BAUMART": "BÄ", "BHD": 44, "DMSTUFE": "Ö",
          "KUBATUR": 215, "NA": "Ü", "KA": "ß", "TARIF": "BÄ01"}],
        tariffs_of("Süd")))
    write("export_region_blanks.dat", list_file(
        {"LISTE_NR": "BLANKS", "REGION_A": "AB      ", "STRUKTUR": "T00300"}, [], [],
        tariffs_of("AB      ")))
    write("export_region_lower.dat", list_file(
        {"LISTE_NR": "KLEIN", "REGION_A": "ab", "STRUKTUR": "T00300"}, [], [],
        tariffs_of("ab")))
