-- The lists behind list_umlauts.csv: list 3 is written, the trees of list 4 are left out.
-- What they try: byte order mark, umlauts in the list number, codes and texts, an addition with a
-- semicolon and quotes, factor 0.90 truncated per record (0.59 -> 0.53, 0.01 -> 0.00), codes and
-- the list number stored blank-padded, empty fields as empty cells, trees in table order.
INSERT INTO Brov_Kopfdaten (ID_FILE, LISTE_NR, ZUSATZ_A, DATUM_A, KOR_FAKTOR_N, REGION_A, DUE_MARK, EXPORTED_N_NI) VALUES (3, 'HÖHE 7  ', 'Abt. 12; Fläche "Süd"', '04.05.2026', 90, 'Süd     ', 1, 2);
INSERT INTO Brov_Kopfdaten (ID_FILE, LISTE_NR, REGION_A, DUE_MARK, EXPORTED_N_NI) VALUES (4, 'ANDERE', 'WR01', 1, 2);
INSERT INTO Brov_Holzdaten (ID, ID_FILE, ID_TYPE, STK, BAUMART, BHD, DMSTUFE, KUBATUR, NA, KA, TARIF) VALUES (5, 3, 1, 2, 'BÄ ', 34, '34', 230, 'Ü ', 'ß', 'BÄ01 ');
INSERT INTO Brov_Holzdaten (ID, ID_FILE, ID_TYPE, STK, BAUMART, KUBATUR) VALUES (1, 4, 1, 9, 'XX', 999);
INSERT INTO Brov_Holzdaten (ID, ID_FILE, ID_TYPE, STK, BAUMART, BHD, DMSTUFE, KUBATUR, NA, TARIF) VALUES (1, 3, 1, 1, 'FI', 26, '26', 59, '', 'FI01');
INSERT INTO Brov_Holzdaten (ID, ID_FILE, ID_TYPE, STK, BAUMART, BHD, DMSTUFE, KUBATUR, NA, KA, TARIF) VALUES (3, 3, 1, 12, 'KI', 140, '99', 123456, 'N1', 'K2', 'KI01');
INSERT INTO Brov_Holzdaten (ID, ID_FILE, ID_TYPE, STK, BAUMART, BHD, DMSTUFE, KUBATUR) VALUES (7, 3, 1, 1, 'TA', 5, '08', 1);
INSERT INTO Brov_Holzdaten (ID, ID_FILE, ID_TYPE, BAUMART, TARIF) VALUES (8, 3, 1, 'EI', 'EI01');
