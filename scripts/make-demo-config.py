#!/usr/bin/env python3
"""Write demo/passive.dtr, the master-data file the demo device is built from.

Developer tool; the build does not run it. Run it again after changing the tables below and
commit the result. Standard library only.

The file is fixed-column text in Windows-1252 with CR LF line ends. Columns count from 0 and
characters 0-2 of every line are the record tag. Every field is padded with blanks to its width;
text is left-aligned, numbers right-aligned (the device reads them with %d / %f):

  TD0  0,15 identification "TD0STAMM300.DAT"
  20C  3,20 header label; 23,1 mandatory flag "1"/"0". The first four label the fixed fields
       (Zusatz, Datum, Korr.-Faktor, Wuchsregion), the next sixteen the free fields 1..16.
  20D  3,2 assortment code (six of them)
  30E  3,2 class code; 5,3 upper BHD bound (cm); 8,3 class diameter (cm)
  40F  3,5 tariff; 8,2 class code; 10,7 volume of one tree in m3
  510  3,2 free header field number; 5,40 choice text (entries of one field together)
  611  3,3 species; 6,2 class code; 8,6 14,6 20,6 26,6 32,6 38,6 six volumes in m3
       (here the class volume of the species' main tariff split over the six assortments)
  712  3,8 growth region; 11,3 species; 14,5 tariff
  813  3,2 NA short code; 5,16 long name
  914  3,2 KAL short code; 5,16 long name
  a15  3,3 species code
  b16  3,40 43,40 83,40 company lines 1-3; 123,80 203,80 lines 4-5
"""

import argparse
import math
import struct
import sys
from pathlib import Path

ENCODING = "cp1252"
IDENTIFICATION = "TD0STAMM300.DAT"

# Field layouts as (start, width) per tag, used both to build and to re-read the lines.
LAYOUT = {
    "20C": [(3, 20), (23, 1)],
    "20D": [(3, 2)],
    "30E": [(3, 2), (5, 3), (8, 3)],
    "40F": [(3, 5), (8, 2), (10, 7)],
    "510": [(3, 2), (5, 40)],
    "611": [(3, 3), (6, 2), (8, 6), (14, 6), (20, 6), (26, 6), (32, 6), (38, 6)],
    "712": [(3, 8), (11, 3), (14, 5)],
    "813": [(3, 2), (5, 16)],
    "914": [(3, 2), (5, 16)],
    "a15": [(3, 3)],
    "b16": [(3, 40), (43, 40), (83, 40), (123, 80), (203, 80)],
}

# The device keeps these many entries; more would be silently lost there.
MAX_CLASSES = 50
MAX_SPECIES = 60
MAX_CODES = 12
MAX_CHOICES = 30
MAX_REGIONS = 50

FIXED_LABELS = ["Zusatz:", "Datum:", "Korr.-Faktor:", "Wuchsreg:"]

# Free header fields 1..16 in order: label and whether the list header may be left empty.
FREE_LABELS = [
    ("Forstamt:", True),
    ("Revier:", True),
    ("Abteilung:", True),
    ("Unterabteilung:", False),
    ("Bestand:", False),
    ("Waldort:", False),
    ("Hiebsart:", False),
    ("Sortiment:", False),
    ("Rückeweg:", False),
    ("Unternehmer:", False),
    ("Auftrag-Nr.:", False),
    ("Aufnehmer:", True),
    ("Waldbesitzer:", False),
    ("Gemarkung:", False),
    ("Holzliste-Nr.:", False),
    ("Bemerkung:", False),
]

# Stammholz, Abschnitte, Palettenholz, Industrieholz lang/kurz, Brennholz.
ASSORTMENTS = ["ST", "AB", "PA", "IL", "IK", "BR"]

# 2-cm classes named after their middle: class "20" holds 19.0-20.9 cm. The BHD is kept in
# whole centimetres cut towards zero, so 19 and 20 fall into it and its bound is 20. Above 80 cm
# one class collects everything up to 99 cm (larger trees fall into the top class anyway).
CLASSES = [(f"{d:02d}", d, d) for d in range(8, 81, 2)] + [("90", 99, 90)]

# Single-tree volumes (m3) at a few diameters; the classes in between are interpolated on a
# log-log scale. Figures follow the usual yield-table order of magnitude for good sites.
SPRUCE = [(8, 0.020), (10, 0.040), (14, 0.110), (20, 0.300), (30, 0.850), (40, 1.700),
          (50, 2.900), (60, 4.300), (70, 5.850), (80, 7.400), (90, 9.200)]
PINE = [(8, 0.018), (10, 0.035), (14, 0.095), (20, 0.270), (30, 0.750), (40, 1.450),
        (50, 2.400), (60, 3.500), (70, 4.700), (80, 5.950), (90, 7.300)]
BEECH = [(8, 0.019), (10, 0.038), (14, 0.108), (20, 0.310), (30, 0.880), (40, 1.750),
         (50, 2.950), (60, 4.400), (70, 6.000), (80, 7.800), (90, 9.800)]
OAK = [(8, 0.017), (10, 0.034), (14, 0.098), (20, 0.280), (30, 0.800), (40, 1.600),
       (50, 2.700), (60, 4.100), (70, 5.600), (80, 7.300), (90, 9.200)]

# Tariff code -> (curve, factor). The "02" tariffs stand for poorer sites with lower heights.
TARIFFS = {
    "FI01 ": (SPRUCE, 1.00),
    "FI02 ": (SPRUCE, 0.88),
    "TA01 ": (SPRUCE, 1.03),
    "DG01 ": (SPRUCE, 1.08),
    "KI01 ": (PINE, 1.00),
    "KI02 ": (PINE, 0.88),
    "LÄ01 ": (SPRUCE, 0.95),
    "BU01 ": (BEECH, 1.00),
    "BU02 ": (BEECH, 0.88),
    "EI01 ": (OAK, 1.00),
    "ALH01": (BEECH, 0.94),
    "ALN01": (SPRUCE, 0.86),
}

# The first twelve become the main species shown on the tally screen.
SPECIES = ["FI", "TA", "DGL", "KI", "LÄ", "BU", "EI", "ES", "AH", "HBU", "ER", "BI",
           "KIR", "LI", "REI", "PA", "WEI", "UL", "ELS", "SKI"]

# Default tariff per species; the regions below override some of them.
BASE_ASSIGNMENT = {
    "FI": "FI01 ", "TA": "TA01 ", "DGL": "DG01 ", "KI": "KI01 ", "LÄ": "LÄ01 ",
    "BU": "BU01 ", "EI": "EI01 ", "ES": "ALH01", "AH": "ALH01", "HBU": "ALH01",
    "ER": "ALN01", "BI": "ALN01", "KIR": "ALH01", "LI": "ALN01", "REI": "EI01 ",
    "PA": "ALN01", "WEI": "ALN01", "UL": "ALH01", "ELS": "ALH01", "SKI": "KI01 ",
}

# Region -> (species left out, tariff overrides).
REGIONS = [
    ("WR01", [], {}),
    ("WR02", ["ELS", "SKI"], {"FI": "FI02 ", "KI": "KI02 ", "BU": "BU02 "}),
    ("OSTALB", ["SKI", "WEI", "PA"], {"FI": "FI02 ", "TA": "FI02 ", "ELS": "BU02 "}),
    ("SCHWARZW", ["ELS", "REI", "UL", "SKI"], {"KI": "KI02 ", "EI": "BU02 ", "LÄ": "FI01 "}),
    ("RHEINEB", ["TA", "ELS"], {"FI": "FI02 ", "KI": "KI01 ", "BU": "BU02 ", "SKI": "KI02 "}),
]

CHOICES = {
    1: ["Forstamt Musterwald", "Forstamt Beispielstadt", "Forstamt Tannenhöhe",
        "Forstamt Eichengrund"],
    2: ["Revier Hirschberg", "Revier Buchenhain", "Revier Am Mühlbach", "Revier Schlosswald"],
    7: ["Durchforstung", "Endnutzung", "Räumung", "Kalamität", "Sanitärhieb",
        "Jungbestandspflege"],
    8: ["Stammholz lang", "Stammholz kurz", "Industrieholz", "Brennholz"],
    12: ["Max Mustermann", "Erika Musterfrau", "Hans Beispiel", "Anna Probe"],
    13: ["Staatswald", "Körperschaftswald", "Privatwald"],
}

NA_CODES = [
    ("SH", "Schälholz"), ("LA", "Langholz"), ("FU", "Furnier"), ("SG", "Sägeholz"),
    ("MA", "Masten"), ("RF", "Rotfäule"), ("RK", "Rotkern"), ("KR", "Krumm"),
    ("ZW", "Zwiesel"), ("AS", "Starkastig"),
]

KAL_CODES = [
    ("W", "Windwurf"), ("K", "Käfer"), ("S", "Schneebruch"), ("E", "Eisbruch"),
    ("D", "Dürre"), ("P", "Pilzbefall"), ("F", "Waldbrand"), ("WS", "Wildschaden"),
]

COMPANY = [
    "Forstbetrieb Musterwald",
    "Waldweg 1, 12345 Musterstadt",
    "Tel. 01234 56789-0, Fax 01234 56789-99",
    "Holzaufnahme und Holzverkauf im Musterwald",
    "E-Mail: holz@musterwald.example",
]

# Share of the class volume per assortment (order of ASSORTMENTS) at a few diameters of the
# 611 rows; interpolated linearly in between.
ASSORTMENT_SHARES = {
    "FI": [(8, [0, 0, 0, .30, .40, .30]), (14, [0, 0, .10, .45, .30, .15]),
           (22, [.20, .25, .20, .20, .05, .10]), (32, [.45, .25, .10, .10, 0, .10]),
           (44, [.60, .20, .05, .05, 0, .10]), (90, [.65, .15, .05, .05, 0, .10])],
    "BU": [(8, [0, 0, 0, .20, .30, .50]), (14, [0, 0, 0, .30, .30, .40]),
           (22, [0, .10, .15, .30, .10, .35]), (32, [.25, .15, .15, .20, 0, .25]),
           (44, [.45, .15, .10, .10, 0, .20]), (90, [.55, .10, .05, .10, 0, .20])],
}
SPECIES_TARIFF_611 = {"FI": "FI01 ", "BU": "BU01 "}


def stored_hundredths(text):
    """Volume text as the device stores it: float32 times 100, plus 0.5, cut towards zero."""
    single = struct.unpack("f", struct.pack("f", float(text)))[0]
    product = struct.unpack("f", struct.pack("f", single * 100.0))[0]
    return int(product + 0.5)


def interpolate_volume(curve, diameter):
    for (d0, v0), (d1, v1) in zip(curve, curve[1:]):
        if d0 <= diameter <= d1:
            t = (math.log(diameter) - math.log(d0)) / (math.log(d1) - math.log(d0))
            return math.exp(math.log(v0) + t * (math.log(v1) - math.log(v0)))
    raise ValueError(f"diameter {diameter} outside the curve")


def volume_text(curve, factor, diameter):
    thousandths = round(interpolate_volume(curve, diameter) * factor * 1000)
    # A third decimal of 5 sits on a half hundredth, where the device's rounding of float32
    # decides; keep the demo clear of that.
    if thousandths % 10 == 5:
        thousandths += 1
    return f"{thousandths // 1000}.{thousandths % 1000:03d}"


def shares_at(table, diameter):
    for (d0, s0), (d1, s1) in zip(table, table[1:]):
        if d0 <= diameter <= d1:
            t = (diameter - d0) / (d1 - d0)
            return [a + t * (b - a) for a, b in zip(s0, s1)]
    raise ValueError(f"diameter {diameter} outside the share table")


def split_hundredths(total, shares):
    """Split total into integer parts proportional to shares that add up to total exactly."""
    weight = sum(shares)
    exact = [total * s / weight for s in shares]
    parts = [math.floor(x) for x in exact]
    by_remainder = sorted(range(len(exact)), key=lambda i: exact[i] - parts[i], reverse=True)
    for i in by_remainder[: total - sum(parts)]:
        parts[i] += 1
    return parts


def hundredths_text(value):
    return f"{value // 100}.{value % 100:02d}"


def text(value, width):
    assert len(value) <= width, f"{value!r} is longer than {width}"
    return value.ljust(width)


def number(value, width):
    field = str(value).rjust(width)
    assert len(field) == width, f"{value!r} does not fit {width} columns"
    return field


def record(tag, fields):
    """One line: the tag followed by fields that must fill the tag's columns without gaps."""
    layout = LAYOUT[tag]
    assert len(fields) == len(layout), f"{tag}: {len(fields)} fields for {len(layout)} columns"
    line = tag
    for (start, width), field in zip(layout, fields):
        assert len(line) == start, f"{tag}: field at {len(line)}, expected {start}"
        assert len(field) == width, f"{tag}: {field!r} is not {width} wide"
        line += field
    return line


def build_lines():
    lines = [IDENTIFICATION]

    labels = [(label, False) for label in FIXED_LABELS] + FREE_LABELS
    assert len(labels) == 20
    for label, mandatory in labels:
        lines.append(record("20C", [text(label, 20), "1" if mandatory else "0"]))

    assert len(ASSORTMENTS) == 6
    lines += [record("20D", [text(code, 2)]) for code in ASSORTMENTS]

    assert len(CLASSES) <= MAX_CLASSES
    bounds = [bound for _, bound, _ in CLASSES]
    assert bounds == sorted(bounds) and len(set(bounds)) == len(bounds)
    assert len({code for code, _, _ in CLASSES}) == len(CLASSES)
    previous = 0
    for code, bound, diameter in CLASSES:
        assert previous < diameter <= bound
        previous = bound
        lines.append(record("30E", [text(code, 2), number(bound, 3), number(diameter, 3)]))

    stored = {}
    for tariff, (curve, factor) in TARIFFS.items():
        assert len(tariff) == 5
        last = 0
        for code, _, diameter in CLASSES:
            volume = volume_text(curve, factor, diameter)
            hundredths = stored_hundredths(volume)
            assert hundredths > last, f"{tariff} class {code}: volume does not grow"
            last = hundredths
            stored[tariff, code] = hundredths
            lines.append(record("40F", [text(tariff, 5), text(code, 2), number(volume, 7)]))

    for field, entries in sorted(CHOICES.items()):
        assert 1 <= field <= 16 and len(entries) <= MAX_CHOICES
        for entry in entries:
            lines.append(record("510", [number(f"{field:02d}", 2), text(entry, 40)]))

    for species, tariff in SPECIES_TARIFF_611.items():
        for code, _, diameter in CLASSES:
            parts = split_hundredths(stored[tariff, code],
                                     shares_at(ASSORTMENT_SHARES[species], diameter))
            assert sum(parts) == stored[tariff, code]
            volumes = [number(hundredths_text(part), 6) for part in parts]
            lines.append(record("611", [text(species, 3), text(code, 2)] + volumes))

    assert len(REGIONS) <= MAX_REGIONS
    assert set(BASE_ASSIGNMENT) == set(SPECIES)
    for region, left_out, overrides in REGIONS:
        assert set(left_out) <= set(SPECIES) and set(overrides) <= set(SPECIES)
        for species in SPECIES:
            if species in left_out:
                continue
            tariff = overrides.get(species, BASE_ASSIGNMENT[species])
            assert tariff in TARIFFS, f"{region}/{species}: unknown tariff {tariff!r}"
            lines.append(record("712", [text(region, 8), text(species, 3), text(tariff, 5)]))

    assert len(NA_CODES) <= MAX_CODES and len(KAL_CODES) <= MAX_CODES
    lines += [record("813", [text(short, 2), text(long, 16)]) for short, long in NA_CODES]
    lines += [record("914", [text(short, 2), text(long, 16)]) for short, long in KAL_CODES]

    assert len(SPECIES) <= MAX_SPECIES and len(set(SPECIES)) == len(SPECIES)
    lines += [record("a15", [text(species, 3)]) for species in SPECIES]

    widths = [width for _, width in LAYOUT["b16"]]
    lines.append(record("b16", [text(line, width) for line, width in zip(COMPANY, widths)]))
    return lines


def encode(lines):
    content = "".join(line + "\r\n" for line in lines)
    data = content.encode(ENCODING)
    assert data.decode(ENCODING) == content, "encoding does not round-trip"
    assert len(data) == len(content), "a character took more than one byte"
    return data


def check_file(data, lines):
    """Re-read the written bytes the way the device does and compare every field."""
    assert data.endswith(b"\r\n")
    read = data.decode(ENCODING).split("\r\n")
    assert read.pop() == "" and read == lines
    assert read[0][:15] == IDENTIFICATION
    for line in read[1:]:
        tag = line[:3]
        assert tag in LAYOUT, f"unknown tag in {line!r}"
        assert len(line) == sum(LAYOUT[tag][-1]), f"{tag}: line length {len(line)}"
        padded = line.ljust(1000)
        for start, width in LAYOUT[tag]:
            assert len(padded[start:start + width]) == width


def main():
    if not __debug__:
        sys.exit("the checks are asserts; run without -O")
    default_output = Path(__file__).resolve().parent.parent / "demo" / "passive.dtr"
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("output", nargs="?", type=Path, default=default_output)
    args = parser.parse_args()

    lines = build_lines()
    data = encode(lines)
    check_file(data, lines)
    args.output.parent.mkdir(parents=True, exist_ok=True)
    args.output.write_bytes(data)

    counts = {}
    for line in lines:
        counts[line[:3]] = counts.get(line[:3], 0) + 1
    summary = ", ".join(f"{tag} {count}" for tag, count in counts.items())
    print(f"{args.output}: {len(lines)} lines, {len(data)} bytes ({summary})")
    return 0


if __name__ == "__main__":
    sys.exit(main())
