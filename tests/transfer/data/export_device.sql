-- The device behind every export_*.dat file, the same rows as in make_golden.py.
-- What each expected file holds:
--   export_all_pairs.dat     every header pair "002".."009", a label longer than 20 characters
--                            (KOPF07) and an empty one (KOPF18), flag 7 written as "%d", two
--                            regions, trees of ID_TYPE 1, 2 and 0 ("10A", "10B", "10B") with a
--                            NULL PARZ/STK/NA/KA, tariffs of WR01 in ID order, one of them stored
--                            longer than its field ("WR01    Z" counts as WR01, written "WR01    ")
--   export_second_texts.dat  pairs with only their second text; "" and NULL both count as empty,
--                            three blanks do not; ZUSATZ_A NULL
--   export_no_trees.dat      no header texts, one region, no trees; NULL date, factor, structure
--   export_umlauts.dat       umlauts in every text field and label, "€" and "³", and characters
--                            outside Windows-1252 ("Łódź" -> "?ód?"); file name with umlauts
--   export_region_blanks.dat region "AB" stored with trailing blanks: tariffs "AB", "AB   ",
--                            "AB      " match; " AB", "ABC", "ab" do not
--   export_region_lower.dat  region "ab": "ab" and "ab  " match, "AB" and "Ab" do not
-- Tariff assignments (ID_TYPE 3); the other kinds of master rows never become "712" lines.
INSERT INTO Brov_Einstellungen (ID, ID_TYPE, TARIF, REGION_A, BAUMART) VALUES (7, 3, 'BU01 ', 'WR01', 'BU ');
INSERT INTO Brov_Einstellungen (ID, ID_TYPE, TARIF, REGION_A, BAUMART) VALUES (2, 3, 'FI01 ', 'WR01    ', 'FI ');
INSERT INTO Brov_Einstellungen (ID, ID_TYPE, TARIF, REGION_A, BAUMART) VALUES (4, 3, 'TA01 ', 'wr01', 'TA ');
INSERT INTO Brov_Einstellungen (ID, ID_TYPE, TARIF, REGION_A, BAUMART) VALUES (3, 3, 'FI02 ', 'WR02', 'FI ');
INSERT INTO Brov_Einstellungen (ID, ID_TYPE, TARIF, REGION_A, BAUMART) VALUES (1, 3, 'KI01 ', 'WR01    Z', 'KI ');
INSERT INTO Brov_Einstellungen (ID, ID_TYPE, TARIF, REGION_A, BAUMART) VALUES (9, 3, 'BÄ01 ', 'Süd', 'BÄ ');
INSERT INTO Brov_Einstellungen (ID, ID_TYPE, TARIF, REGION_A, BAUMART) VALUES (10, 3, 'EI01 ', 'SÜD', 'EI ');
INSERT INTO Brov_Einstellungen (ID, ID_TYPE, TARIF, REGION_A, BAUMART) VALUES (11, 3, 'T1', 'AB', 'FI ');
INSERT INTO Brov_Einstellungen (ID, ID_TYPE, TARIF, REGION_A, BAUMART) VALUES (12, 3, 'T2', 'AB   ', 'TA ');
INSERT INTO Brov_Einstellungen (ID, ID_TYPE, TARIF, REGION_A, BAUMART) VALUES (13, 3, 'T3', 'ab', 'KI ');
INSERT INTO Brov_Einstellungen (ID, ID_TYPE, TARIF, REGION_A, BAUMART) VALUES (14, 3, 'T4', 'AB      ', 'BU ');
INSERT INTO Brov_Einstellungen (ID, ID_TYPE, TARIF, REGION_A, BAUMART) VALUES (15, 3, 'T5', ' AB', 'EI ');
INSERT INTO Brov_Einstellungen (ID, ID_TYPE, TARIF, REGION_A, BAUMART) VALUES (16, 3, 'T6', 'ABC', 'ES ');
INSERT INTO Brov_Einstellungen (ID, ID_TYPE, TARIF, REGION_A, BAUMART) VALUES (17, 3, 'T7', 'ab  ', 'LA ');
INSERT INTO Brov_Einstellungen (ID, ID_TYPE, TARIF, REGION_A, BAUMART) VALUES (18, 3, 'T8', 'Ab', 'DG ');
-- Other kinds of master rows: a tariff volume and a species volume.
INSERT INTO Brov_Einstellungen (ID, ID_TYPE, TARIF, REGION_A, BAUMART) VALUES (5, 2, 'XX01 ', 'WR01', 'FI ');
INSERT INTO Brov_Einstellungen (ID, ID_TYPE, TARIF, REGION_A, BAUMART) VALUES (6, 4, 'XX02 ', 'AB', 'FI ');
INSERT INTO Brov_Kopfdaten (ID_FILE, LISTE_NR, ZUSATZ_A, DATUM_A, KOR_FAKTOR_N, REGION_A, KOPF1_A, KOPF2_A, KOPF3_A, KOPF4_A, KOPF5_A, KOPF6_A, KOPF7_A, KOPF8_A, KOPF9_A, KOPF10_A, KOPF11_A, KOPF12_A, KOPF13_A, KOPF14_A, KOPF15_A, KOPF16_A, DUE_MARK, EXPORTED_N_NI, STRUKTUR) VALUES (3, 'HIEB01', 'Abt. 12 Süd, Steilhang', '04.05.2026', 95, 'WR01', 'Forstamt Grünwald', 'Revier Nord', '12', 'a', 'Fichte Altholz', 'Kahlschlag', 'Stammholz', 'Sägewerk Müller GmbH', 'Rückebetrieb Öttl', 'm³', 'P-17', 'Waldweg 3', '1234567890123456789012345678901234567890', 'Anna Probe', 'Preis 12 €', 'x', 1, 2, 'T00300');
-- A list that is not marked writes nothing, and its rows stay out of the other files.
INSERT INTO Brov_Kopfdaten (ID_FILE, LISTE_NR, REGION_A, DUE_MARK, STRUKTUR) VALUES (4, 'NICHT', 'WR01', 0, 'T00300');
INSERT INTO Brov_Kopfdaten (ID_FILE, LISTE_NR, DATUM_A, KOR_FAKTOR_N, REGION_A, KOPF2_A, KOPF3_A, KOPF6_A, KOPF16_A, DUE_MARK, STRUKTUR) VALUES (1, 'L2', '01.01.2026', 100, 'WR02', 'nur zweiter Text', '', '   ', 'Ende', 1, 'T00300');
INSERT INTO Brov_Kopfdaten (ID_FILE, LISTE_NR, REGION_A, DUE_MARK) VALUES (8, 'LEER', 'WR01', 1);
INSERT INTO Brov_Kopfdaten (ID_FILE, LISTE_NR, ZUSATZ_A, DATUM_A, KOR_FAKTOR_N, REGION_A, KOPF1_A, KOPF2_A, KOPF3_A, DUE_MARK, STRUKTUR) VALUES (9, 'ÄÖÜäöüß', 'Überhälter äußerst groß, Łódź', '1. März 26', 100, 'Süd', 'Förster Jürgen', 'Größe Ä', 'Öl', 1, 'Ö00300');
INSERT INTO Brov_Kopfdaten (ID_FILE, LISTE_NR, REGION_A, DUE_MARK, STRUKTUR) VALUES (10, 'BLANKS', 'AB      ', 1, 'T00300');
INSERT INTO Brov_Kopfdaten (ID_FILE, LISTE_NR, REGION_A, DUE_MARK, STRUKTUR) VALUES (11, 'KLEIN', 'ab', 1, 'T00300');
-- Regions and trees; the trees' record numbers out of order: the file follows the table's order.
INSERT INTO Brov_Region (ID, ID_FILE, REGION_A, BAUMART, TARIF) VALUES (0, 3, 'WR01', 'FI ', 'FI01 ');
INSERT INTO Brov_Region (ID, ID_FILE, REGION_A, BAUMART, TARIF) VALUES (0, 4, 'WR01', 'XX ', 'XX01 ');
INSERT INTO Brov_Region (ID, ID_FILE, REGION_A, BAUMART, TARIF) VALUES (1, 3, 'WR01', 'BU ', 'BU01 ');
INSERT INTO Brov_Region (ID, ID_FILE, REGION_A, BAUMART, TARIF) VALUES (0, 8, 'WR01', 'TA ', 'TA01 ');
INSERT INTO Brov_Region (ID, ID_FILE, REGION_A, BAUMART, TARIF) VALUES (0, 9, 'Süd', 'BÄ', 'BÄ01');
INSERT INTO Brov_Holzdaten (ID, ID_FILE, ID_TYPE, PARZ, STK, BAUMART, BHD, DMSTUFE, KUBATUR, NA, KA, TARIF) VALUES (5, 3, 1, '1', 1, 'FI', 26, '26', 59, '', '', 'FI01');
INSERT INTO Brov_Holzdaten (ID, ID_FILE, ID_TYPE, PARZ, BAUMART) VALUES (0, 4, 1, 'X', 'XX');
INSERT INTO Brov_Holzdaten (ID, ID_FILE, ID_TYPE, PARZ, STK, BAUMART, BHD, DMSTUFE, KUBATUR, NA, KA, TARIF) VALUES (1, 3, 2, '12a', 12, 'BU', 140, '99', 123456, 'N1', 'K2', 'BU01');
INSERT INTO Brov_Holzdaten (ID, ID_FILE, ID_TYPE, BAUMART, BHD, DMSTUFE, KUBATUR, TARIF) VALUES (3, 3, 0, 'KI', 5, '5', 7, 'KI01');
INSERT INTO Brov_Holzdaten (ID, ID_FILE, ID_TYPE, PARZ, STK, BAUMART, BHD, DMSTUFE, KUBATUR, TARIF) VALUES (0, 1, 1, '7', 3, 'FI', 31, '32', 198, 'FI02');
INSERT INTO Brov_Holzdaten (ID, ID_FILE, ID_TYPE, PARZ, STK, BAUMART, BHD, DMSTUFE, KUBATUR, NA, KA, TARIF) VALUES (0, 9, 1, 'Ä1', 1, 'BÄ', 44, 'Ö', 215, 'Ü', 'ß', 'BÄ01');
